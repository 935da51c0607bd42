#include "rasterhost/reading/ReducedImage.h"

#include "hostkit/Coarsening.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <utility>

namespace rasterhost {

using hostkit::PixelRect;

namespace {

/// Sums over blocks of 2^level x 2^level pixels, one row of blocks at a time: down first, sample by sample,
/// then across. A sum down fits into 32 bits.
template <class T>
class BlockSums {
public:
    BlockSums(std::size_t imageColumns, std::size_t imageBands, unsigned reductionLevel)
        : columns(imageColumns), bands(imageBands), level(reductionLevel), sums(columns * bands),
          counts(columns) {}

    /// `valid` has one byte per pixel, 0 without data; null means that all have data.
    void AddRow(const T* samples, const unsigned char* valid) {
        if (!valid) {
            ++wholeRows;
            const std::size_t count = sums.size();
            std::uint32_t* sum = sums.data();
            for (std::size_t i = 0; i < count; ++i)
                sum[i] += samples[i];
            return;
        }
        for (std::size_t column = 0; column < columns; ++column) {
            if (valid[column] == 0) continue;
            ++counts[column];
            for (std::size_t band = 0; band < bands; ++band)
                sums[column * bands + band] += samples[column * bands + band];
        }
    }

    /// Writes the means of a row of blocks, with a byte per block, 0 without data, and begins the next row.
    void Finish(T* out, unsigned char* outValid) {
        const std::size_t side = std::size_t{1} << level;
        const std::uint64_t all = std::uint64_t{1} << (2 * level);
        std::vector<std::uint64_t> totals(bands);
        for (std::size_t first = 0; first < columns; first += side) {
            const std::size_t end = std::min(first + side, columns);
            std::uint64_t count = std::uint64_t{wholeRows} * (end - first);
            std::fill(totals.begin(), totals.end(), 0);
            for (std::size_t column = first; column < end; ++column) {
                count += counts[column];
                for (std::size_t band = 0; band < bands; ++band)
                    totals[band] += sums[column * bands + band];
            }
            for (const std::uint64_t total : totals)
                *out++ = static_cast<T>(count == all ? (total + all / 2) >> (2 * level) // the same, faster
                                        : count == 0 ? 0
                                                     : (2 * total + count) / (2 * count));
            *outValid++ = count == 0 ? 0 : 0xFF;
        }
        std::fill(sums.begin(), sums.end(), 0);
        std::fill(counts.begin(), counts.end(), 0);
        wholeRows = 0;
    }

private:
    std::size_t columns, bands;
    unsigned level;
    std::vector<std::uint32_t> sums;
    std::vector<std::uint32_t> counts;
    std::uint32_t wholeRows = 0; ///< rows in which all pixels have data
};

} // namespace

ReducedImage::ReducedImage(hostkit::ImageSource& image, const PixelRect& partOfIt, unsigned reductionLevel)
    : source(&image), part(partOfIt), level(reductionLevel),
      info(hostkit::CoarseInfo(image.GetInfo(), part, level)) {}

/// Converts a rectangle of a level 0 to pixels of the image.
PixelRect ReducedImage::OnImage(const PixelRect& rect) const {
    return {rect.col0 + part.col0, rect.row0 + part.row0, rect.col1 + part.col0, rect.row1 + part.row0};
}

bool ReducedImage::Read(const PixelRect& rect, unsigned char* out, Status& status) {
    if (level == 0) return source->Read(OnImage(rect), out, status);
    return info.bitsPerBand == 8 ? Reduce(rect, out, status)
                                 : Reduce(rect, reinterpret_cast<unsigned short*>(out), status);
}

bool ReducedImage::ReadValid(const PixelRect& rect, const unsigned char* samples, unsigned char* rectValid,
                             Status& status) {
    if (level == 0) return source->ReadValid(OnImage(rect), samples, rectValid, status);
    if (known != rect) {
        const std::size_t bytes = std::size_t{rect.GetColumns()} * rect.GetRows() * hostkit::PixelBytes(info);
        std::vector<unsigned short> again((bytes + 1) / 2);
        if (!Read(rect, reinterpret_cast<unsigned char*>(again.data()), status)) return false;
    }
    std::copy(valid.begin(), valid.end(), rectValid);
    return true;
}

bool ReducedImage::ReadStrip(const PixelRect& rect, Status& status) {
    const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
    strip.resize(std::max(strip.size(), pixels * hostkit::PixelBytes(info)));
    if (!source->Read(rect, strip.data(), status)) return false;
    if (!MayLackData()) return true;
    stripValid.resize(std::max(stripValid.size(), pixels));
    return source->ReadValid(rect, strip.data(), stripValid.data(), status);
}

template <class T>
bool ReducedImage::Reduce(const PixelRect& rect, T* out, Status& status) {
    constexpr std::size_t stripBytes = std::size_t{2} << 20;
    known = {};
    valid.resize(std::size_t{rect.GetColumns()} * rect.GetRows());
    const auto end = [&](std::uint32_t pixel, std::uint32_t first, std::uint32_t last) {
        return static_cast<std::uint32_t>(
            std::min<std::uint64_t>(first + (std::uint64_t{pixel} << level), last));
    };
    PixelRect fine{part.col0 + (rect.col0 << level), part.row0 + (rect.row0 << level),
                   end(rect.col1, part.col0, part.col1), end(rect.row1, part.row0, part.row1)};
    const std::size_t columns = fine.GetColumns(), rowBytes = columns * hostkit::PixelBytes(info);
    const auto rows = static_cast<std::uint32_t>(std::max<std::size_t>(stripBytes / rowBytes, 1));
    BlockSums<T> sums(columns, info.bandsPerPixel, level);
    unsigned char* outValid = valid.data();
    for (const std::uint32_t last = fine.row1; fine.row0 < last; fine.row0 = fine.row1) {
        fine.row1 = fine.row0 + std::min(rows, last - fine.row0);
        if (!ReadStrip(fine, status)) return false;
        for (std::uint32_t row = fine.row0; row < fine.row1; ++row) {
            const std::size_t number = row - fine.row0;
            sums.AddRow(reinterpret_cast<const T*>(strip.data() + number * rowBytes),
                        MayLackData() ? stripValid.data() + number * columns : nullptr);
            if (((row + 1 - part.row0) & ((1u << level) - 1)) != 0 && row + 1 != last) continue;
            sums.Finish(out, outValid);
            out += std::size_t{rect.GetColumns()} * info.bandsPerPixel;
            outValid += rect.GetColumns();
        }
    }
    known = rect;
    return true;
}

} // namespace rasterhost
