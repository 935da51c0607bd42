#include "imagery/RowSource.h"

#include "hostkit/RequestRecord.h"
#include "hostkit/SourceRaster.h"

#include <algorithm>
#include <new>
#include <utility>

namespace imagery {

using hostkit::PixelRect;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// Converts 8-bit or 16-bit samples to 16 bits.
void Widen(const unsigned char* bytes, std::uint32_t bits, std::size_t count, unsigned short* out) {
    if (bits == 8)
        std::copy_n(bytes, count, out);
    else
        std::copy_n(reinterpret_cast<const unsigned short*>(bytes), count, out);
}

} // namespace

ImageRows::ImageRows(hostkit::ImageSource& source)
    : ImageRows(source, hostkit::WholeImage(source.GetInfo())) {}

bool ImageRows::Read(std::uint32_t first, std::uint32_t end, SampleRows& rows, Status& status) {
    const RasterInfo& info = image.GetInfo();
    const PixelRect rect = {part.col0, part.row0 + first, part.col1, part.row0 + end};
    const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
    rows.Resize(pixels, GetBands());
    bytes.resize(pixels * hostkit::PixelBytes(info));
    if (!image.Read(rect, bytes.data(), status) ||
        !image.ReadValid(rect, bytes.data(), rows.valid.data(), status))
        return false;
    Widen(bytes.data(), info.bitsPerBand, rows.samples.size(), rows.samples.data());
    return true;
}

bool UpsampledRows::Read(std::uint32_t first, std::uint32_t end, SampleRows& rows, Status& status) {
    rows.Resize(std::size_t{GetColumns()} * (end - first), GetBands());
    const PixelRect covered = placement.FindCovered();
    const PixelRect window = {std::max(covered.col0, part.col0), std::max(covered.row0, part.row0 + first),
                              std::min(covered.col1, part.col1), std::min(covered.row1, part.row0 + end)};
    if (!(window == PixelRect{part.col0, part.row0 + first, part.col1, part.row0 + end}))
        std::fill(rows.samples.begin(), rows.samples.end(), static_cast<unsigned short>(0));
    if (window.IsEmpty()) return true;
    hostkit::SourceRaster read(coarse);
    const PixelRect needed = placement.FindSource(window, resampling);
    if (read.SetWindow(needed.col0, needed.row0, needed.col1, needed.row1) == 0) {
        if (read.GetStatus().GetCount() == 0) throw std::bad_alloc(); // every other failure has an item
        status.Append(read.GetStatus());
        return false;
    }
    const auto opened = placement.Open(window, coarse.GetInfo(), read.GetBlock(), resampling, status);
    if (!opened) return false;
    const std::size_t columns = window.GetColumns();
    for (std::uint32_t row = window.row0; row < window.row1; ++row) {
        const std::size_t start =
            std::size_t{row - part.row0 - first} * GetColumns() + window.col0 - part.col0;
        const unsigned char* samples = opened->GetRow(row - window.row0);
        if (!samples) throw std::bad_alloc(); // the only way in which a row of an open window can fail
        Widen(samples, coarse.GetInfo().bitsPerBand, columns * GetBands(),
              rows.samples.data() + start * GetBands());
        const hostkit::Reach* reach = opened->FindReach(row - window.row0);
        if (!reach) {
            std::fill_n(rows.valid.begin() + static_cast<std::ptrdiff_t>(start), columns,
                        static_cast<unsigned char>(1));
            continue;
        }
        for (std::size_t i = 0; i < columns; ++i)
            rows.valid[start + i] =
                reach[i] == hostkit::Reach::All || (takesSome && reach[i] == hostkit::Reach::Some);
    }
    return true;
}

JoinedRows::JoinedRows(std::vector<Part> sources) : parts(std::move(sources)) {
    for (const Part& part : parts)
        allBands += part.bands.size();
}

bool JoinedRows::Read(std::uint32_t first, std::uint32_t end, SampleRows& rows, Status& status) {
    rows.Resize(std::size_t{GetColumns()} * (end - first), allBands);
    std::fill(rows.valid.begin(), rows.valid.end(), static_cast<unsigned char>(1));
    for (const Part& part : parts) {
        if (!part.rows->Read(first, end, own, status)) return false;
        KeepCommon(rows.valid, own.valid);
        const std::size_t count = part.bands.size();
        for (std::size_t band = 0; band < count; ++band) {
            const unsigned short* in = own.samples.data() + band;
            unsigned short* out = rows.samples.data() + part.bands[band];
            for (std::size_t pixel = 0; pixel < own.valid.size(); ++pixel)
                out[pixel * allBands] = in[pixel * count];
        }
    }
    return true;
}

bool MaskedRows::Read(std::uint32_t first, std::uint32_t end, SampleRows& rows, Status& status) {
    if (!image.Read(first, end, rows, status) || !other.Read(first, end, mask, status)) return false;
    KeepCommon(rows.valid, mask.valid);
    return true;
}

void KeepCommon(std::span<unsigned char> valid, std::span<const unsigned char> other) {
    for (std::size_t i = 0; i < valid.size(); ++i)
        valid[i] = other[i] != 0 ? valid[i] : static_cast<unsigned char>(0);
}

std::uint32_t ChooseStrip(std::uint64_t numbersOfARow) {
    constexpr std::uint64_t mostNumbers = std::uint64_t{2} << 20;
    return static_cast<std::uint32_t>(
        std::max<std::uint64_t>(mostNumbers / std::max<std::uint64_t>(numbersOfARow, 1), 1));
}

} // namespace imagery
