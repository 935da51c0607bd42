#include "rasterhost/serving/SharpenedDataset.h"

#include "hostkit/Coarsening.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/serving/AreaMeans.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace rasterhost {

using hostkit::PixelRect;

namespace {

constexpr std::uint64_t mostPixelsAtATime = std::uint64_t{1} << 20; ///< fused together

/// True when pixels first to end - 1 of an axis are exactly `out` pixels of a level.
bool IsWhole(std::uint32_t first, std::uint32_t end, std::uint32_t size, std::uint32_t out, unsigned level) {
    const std::uint32_t rest = (1u << level) - 1;
    return (first & rest) == 0 && ((end & rest) == 0 || end == size) &&
           hostkit::CoarseCount(end, level) - (first >> level) == out;
}

/// The last of the levels whose pixels are no larger than the requested ones.
unsigned FindFiner(const PixelRect& window, std::uint32_t outColumns, std::uint32_t outRows,
                   std::size_t levels) {
    const std::uint32_t factor = std::min(window.GetColumns() / outColumns, window.GetRows() / outRows);
    return static_cast<unsigned>(std::min<std::size_t>(std::bit_width(std::max(factor, 1u)), levels)) - 1;
}

} // namespace

SharpenedDataset::SharpenedDataset(std::shared_ptr<const OpenPair> openPair, Fusion howToFuse)
    : pair(std::move(openPair)), fusion(std::move(howToFuse)), columns(pair->GetScene().part.GetColumns()),
      rows(pair->GetScene().part.GetRows()), bits(pair->GetScene().pan->GetInfo().bitsPerBand),
      slots(pair->GetMostReaders()) {
    unsigned level = 0;
    do
        levels.push_back(std::make_unique<const SceneLevel>(*pair, fusion, level));
    while ((std::max(columns, rows) - 1) >> level++ > 0 && level <= ReducedImage::mostLevel);
}

bool SharpenedDataset::CheckRequest(const PixelRect& window, std::uint32_t outColumns, std::uint32_t outRows,
                                    std::span<const std::uint32_t> bands, Status& status) const {
    if (window.IsEmpty() || !PixelRect{0, 0, columns, rows}.Contains(window) || outColumns == 0 ||
        outRows == 0)
        return Fail(status, HostStatus::RequestInvalid,
                    "the window (columns %u to %u, rows %u to %u, in %u x %u pixels) must not be empty and "
                    "must lie within the %u x %u pixels of the scene",
                    window.col0, window.col1, window.row0, window.row1, outColumns, outRows, columns, rows);
    for (const std::uint32_t band : bands)
        if (band >= GetBands())
            return Fail(status, HostStatus::RequestInvalid,
                        "there is no band %u; the fused image has the bands 0 to %u", band, GetBands() - 1);
    return true;
}

bool SharpenedDataset::Read(const PixelRect& window, std::uint32_t outColumns, std::uint32_t outRows,
                            std::span<const std::uint32_t> bands, const WindowTarget& target,
                            Status& status) const {
    return Guard(
        [&] {
            if (!CheckRequest(window, outColumns, outRows, bands, status)) return false;
            return bits == 8 ? ReadWindow<unsigned char>(window, outColumns, outRows, bands, target, status)
                             : ReadWindow<unsigned short>(window, outColumns, outRows, bands, target, status);
        },
        status);
}

template <class T>
bool SharpenedDataset::ReadWindow(const PixelRect& window, std::uint32_t outColumns, std::uint32_t outRows,
                                  std::span<const std::uint32_t> bands, const WindowTarget& target,
                                  Status& status) const {
    WindowWriter<T> writer(fusion.rules, bands, target, outColumns);
    const auto want = bands.empty() ? FusionSlot::Want::Mask : FusionSlot::Want::Pixels;
    for (unsigned level = 0; level < levels.size(); ++level) {
        if (!IsWhole(window.col0, window.col1, columns, outColumns, level) ||
            !IsWhole(window.row0, window.row1, rows, outRows, level))
            continue;
        const PixelRect rect = hostkit::CoarseRect(window, level);
        const auto put = [&](std::uint32_t row, const FusedRow& fused) {
            writer.Put(row - rect.row0, fused.samples, fused.valid);
        };
        return ReadLevel(level, rect, want, put, status);
    }
    return Resample<T>(FindFiner(window, outColumns, outRows, levels.size()), window, outColumns, outRows,
                       want, writer, status);
}

/// Reads rows of a level, counted from its first.
bool SharpenedDataset::ReadLevel(unsigned level, const PixelRect& rect, FusionSlot::Want want,
                                 const TakeRow& take, Status& status) const {
    const SceneLevel& from = *levels[level];
    const auto readers = pair->Lend(status);
    if (!readers) return false;
    const auto slot = slots.Take(level, [&] { return from.MakeSlot(status); });
    if (!slot) return false;
    slot->ReadFrom(*readers);
    const PixelRect& part = from.GetPart();
    const auto height = static_cast<std::uint32_t>(
        std::clamp<std::uint64_t>(mostPixelsAtATime / rect.GetColumns(), 1, rect.GetRows()));
    PixelRect strip{part.col0 + rect.col0, part.row0 + rect.row0, part.col0 + rect.col1, 0};
    for (const std::uint32_t end = part.row0 + rect.row1; strip.row0 < end; strip.row0 = strip.row1) {
        strip.row1 = strip.row0 + std::min(height, end - strip.row0);
        if (!(**slot).Read(strip, status, want) ||
            !(**slot).Fuse([&](const FusedRow& row) { take(row.number - part.row0, row); }, status))
            return false;
    }
    return true;
}

/// Averages a level's pixels, some rows at a time.
template <class T, class Writer>
bool SharpenedDataset::Resample(unsigned level, const PixelRect& window, std::uint32_t outColumns,
                                std::uint32_t outRows, FusionSlot::Want want, Writer& writer,
                                Status& status) const {
    const std::size_t bands = want == FusionSlot::Want::Pixels ? fusion.rules.bands : 0;
    const double side = 1u << level;
    const AreaAxis across(window.col0 / side, window.GetColumns() / side / outColumns, outColumns,
                          hostkit::CoarseCount(window.col1, level));
    const AreaAxis down(window.row0 / side, window.GetRows() / side / outRows, outRows,
                        hostkit::CoarseCount(window.row1, level));
    const std::uint32_t first = across.FirstOf(0), end = across.EndOf(outColumns - 1);
    const double rowPixels =
        std::max<double>(outColumns, (end - first) * (window.GetRows() / side / outRows));
    const auto height = static_cast<std::uint32_t>(
        std::clamp(static_cast<double>(mostPixelsAtATime) / rowPixels, 1.0, static_cast<double>(outRows)));
    std::vector<T> means(outColumns * bands);
    std::vector<unsigned char> valid(outColumns);
    for (std::uint32_t row = 0; row < outRows; row += std::min(height, outRows - row)) {
        const std::uint32_t endRow = row + std::min(height, outRows - row);
        AreaMeans sums(across, down, bands, row, endRow);
        if (!ReadLevel(
                level, {first, down.FirstOf(row), end, down.EndOf(endRow - 1)}, want,
                [&](std::uint32_t fine, const FusedRow& fused) {
                    if (fused.samples || bands == 0)
                        sums.AddRow(fine, reinterpret_cast<const T*>(fused.samples), fused.valid);
                },
                status))
            return false;
        for (std::uint32_t made = row; made < endRow; ++made) {
            sums.GetRow(made, means.data(), valid.data());
            writer.Put(made, means.data(), valid.data());
        }
    }
    return true;
}

} // namespace rasterhost
