#include "imagery/CollarSearch.h"

#include "fundament/LargeBytes.h"

#include <algorithm>
#include <utility>

namespace imagery {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

constexpr double leastShareOfEdge = 0.05;

/// Counts zeros among the pixels of the edge.
class EdgeZeros {
public:
    explicit EdgeZeros(hostkit::ImageSource& edgeOf) : image(edgeOf) {}

    [[nodiscard]] bool Count(Status& status) {
        const std::vector<PixelRect> rects = EdgeOf(image.GetInfo());
        return std::ranges::all_of(rects, [&](const PixelRect& rect) { return See(rect, status); });
    }
    [[nodiscard]] bool AreMany() const {
        return static_cast<double>(zeros) >= leastShareOfEdge * static_cast<double>(seen);
    }

private:
    bool See(const PixelRect& rect, Status& status) {
        const std::size_t bytes = hostkit::PixelBytes(image.GetInfo());
        samples.resize(rect.GetColumns() * bytes);
        if (!image.Read(rect, samples.data(), status)) return false;
        for (auto pixel = samples.begin(); pixel != samples.end();
             pixel += static_cast<std::ptrdiff_t>(bytes))
            zeros += std::all_of(pixel, pixel + static_cast<std::ptrdiff_t>(bytes),
                                 [](unsigned char byte) { return byte == 0; });
        seen += rect.GetColumns();
        return true;
    }

    hostkit::ImageSource& image;
    std::vector<unsigned char> samples;
    std::uint64_t seen = 0;
    std::uint64_t zeros = 0;
};

/// Strips of rows, the middle one first.
std::vector<PixelRect> ChooseStrips(const RasterInfo& info) {
    constexpr std::size_t stripBytes = std::size_t{16} << 20;
    const std::size_t rowBytes = info.cols * hostkit::PixelBytes(info);
    const auto height = static_cast<std::uint32_t>(std::clamp<std::size_t>(stripBytes / rowBytes, 1, 256));
    std::vector<PixelRect> strips;
    for (std::uint32_t row = 0; row < info.rows; row += std::min(height, info.rows - row))
        strips.push_back({0, row, info.cols, row + std::min(height, info.rows - row)});
    std::swap(strips.front(), strips[strips.size() / 2]);
    return strips;
}

} // namespace

std::vector<PixelRect> EdgeOf(const RasterInfo& info) {
    constexpr std::uint32_t places = 256;
    const std::uint32_t step = std::max(info.rows / places, 1u), last = info.rows - 1;
    std::vector<PixelRect> rects{{0, 0, info.cols, 1}, {0, last, info.cols, info.rows}};
    for (std::uint32_t row = step; row < last; row += std::min(step, last - row)) {
        rects.push_back({0, row, 1, row + 1});
        rects.push_back({info.cols - 1, row, info.cols, row + 1});
    }
    return rects;
}

CollarFinding FindCollar(hostkit::ImageSource& image, const std::function<bool()>& keepOn,
                         std::shared_ptr<const ZeroCollar>& found, Status& status) {
    EdgeZeros edge(image);
    if (!edge.Count(status)) return CollarFinding::Failed;
    if (!edge.AreMany()) return CollarFinding::None;

    constexpr std::size_t blockBytes = std::size_t{4} << 20, mostBytes = std::size_t{16} << 20;
    constexpr std::uint32_t tileRows = 256; // of most files
    constexpr std::uint64_t mostPixels = std::uint64_t{1}
                                         << 34; // a larger image takes hours, and a file may declare any size
    const auto& info = image.GetInfo();
    if (std::uint64_t{info.cols} * info.rows > mostPixels) return CollarFinding::TooLarge;
    const std::size_t rowBytes = info.cols * hostkit::PixelBytes(info);
    auto blockRows = static_cast<std::uint32_t>(std::max<std::size_t>(blockBytes / rowBytes, 1));
    // Whole tiles, so that none is read twice.
    if (blockRows > tileRows)
        blockRows -= blockRows % tileRows;
    else if (tileRows * rowBytes <= mostBytes)
        blockRows = tileRows;
    KOVA::Tessara::Fundament::LargeBytes samples(rowBytes * std::min(blockRows, info.rows));
    ZeroCollar::Finder finder(info.cols, hostkit::PixelBytes(info));
    for (std::uint32_t row = 0, end = 0; row < info.rows; row = end) {
        if (keepOn && !keepOn()) return CollarFinding::Cancelled;
        end = row + std::min(blockRows, info.rows - row);
        if (!image.Read({0, row, info.cols, end}, samples.data(), status)) return CollarFinding::Failed;
        for (std::uint32_t r = row; r < end; ++r)
            finder.AddRow(samples.data() + (r - row) * rowBytes);
        if (finder.IsTooRagged()) return CollarFinding::Ragged;
    }
    auto collar = std::make_shared<const ZeroCollar>(finder.Finish());
    if (collar->GetPixels() == std::uint64_t{info.cols} * info.rows) return CollarFinding::Everything;
    found = std::move(collar);
    return CollarFinding::Found;
}

double PerCentOf(const ZeroCollar& collar) {
    return 100.0 * static_cast<double>(collar.GetPixels()) /
           static_cast<double>(std::uint64_t{collar.GetColumns()} * collar.GetRows());
}

DataSearch SearchData(hostkit::ImageSource& image, const std::function<bool()>& keepOn) {
    std::vector<unsigned char> samples, valid;
    for (const PixelRect& strip : ChooseStrips(image.GetInfo())) {
        if (keepOn && !keepOn()) return DataSearch::Cancelled;
        valid.resize(std::size_t{strip.GetColumns()} * strip.GetRows());
        samples.resize(valid.size() * hostkit::PixelBytes(image.GetInfo()));
        Status unread;
        if (!image.Read(strip, samples.data(), unread) ||
            !image.ReadValid(strip, samples.data(), valid.data(), unread) ||
            std::any_of(valid.begin(), valid.end(), [](unsigned char has) { return has != 0; }))
            return DataSearch::Found;
    }
    return DataSearch::None;
}

} // namespace imagery
