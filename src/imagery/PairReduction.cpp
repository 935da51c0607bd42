#include "imagery/PairReduction.h"

#include "fundament/Text.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace imagery {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using quality::GaussianAxis;

namespace {

constexpr std::uint32_t mostWhole = 1536; // multispectral pixels along an axis
constexpr std::uint32_t windowsAlong = 3;

/// The multispectral pixels whose centres lie on pan.
PixelRect OnPan(const PairReduction::RasterInfo& pan, const PairReduction::RasterInfo& ms) {
    const auto clip = [](double at, std::uint32_t pixels) {
        return static_cast<std::uint32_t>(std::clamp(std::ceil(at - 0.5), 0.0, static_cast<double>(pixels)));
    };
    return {clip((pan.xMin - ms.xMin) / ms.pixelSizeX, ms.cols),
            clip((ms.yMax - pan.yMax) / ms.pixelSizeY, ms.rows),
            clip((pan.xMax - ms.xMin) / ms.pixelSizeX, ms.cols),
            clip((ms.yMax - pan.yMin) / ms.pixelSizeY, ms.rows)};
}

} // namespace

/// All of an axis, or windows spread evenly over it.
std::vector<PairReduction::Segment> PairReduction::Divide(std::uint32_t first, std::uint32_t end) {
    const std::uint32_t length = end - first;
    if (length <= mostWhole) return {{first, end, 0}};
    constexpr std::uint32_t side = mostWhole / windowsAlong;
    std::vector<Segment> segments;
    for (std::uint32_t i = 0; i < windowsAlong; ++i) {
        const auto start =
            first + static_cast<std::uint32_t>(std::uint64_t{length - side} * i / (windowsAlong - 1));
        segments.push_back({start, start + side, i * side});
    }
    return segments;
}

std::uint32_t PairReduction::Length(const std::vector<Segment>& segments) {
    return segments.back().at + segments.back().GetLength();
}

/// The coarse pixels of an axis. Each is made from one segment only.
GaussianAxis PairReduction::CoarseAxis(const std::vector<Segment>& segments, double ratio,
                                       std::span<const double> transfers) {
    const auto count = static_cast<std::size_t>(Length(segments) / ratio);
    std::vector<GaussianAxis::Target> targets = GaussianAxis::Regular(count, ratio, 0.0, 0);
    for (GaussianAxis::Target& target : targets)
        for (const Segment& segment : segments)
            if (target.centre >= segment.at && target.centre < segment.at + segment.GetLength()) {
                target.begin = segment.at;
                target.end = std::int64_t{segment.at} + segment.GetLength();
            }
    return {targets, ratio, transfers};
}

PairReduction::PairReduction(const RasterInfo& panInfo, const RasterInfo& multispectralInfo)
    : pan(panInfo), multispectral(multispectralInfo), ratioX(multispectral.pixelSizeX / pan.pixelSizeX),
      ratioY(multispectral.pixelSizeY / pan.pixelSizeY) {
    const PixelRect shared = OnPan(pan, multispectral);
    if (shared.GetColumns() < 8.0 * ratioX || shared.GetRows() < 8.0 * ratioY) {
        obstacle = FormatString("the images share %u x %u multispectral pixels; that is too few to degrade "
                                "them by %.6g x %.6g and compare",
                                shared.GetColumns(), shared.GetRows(), ratioX, ratioY);
        return;
    }
    across = Divide(shared.col0, shared.col1);
    down = Divide(shared.row0, shared.row1);
}

std::vector<PairReduction::Window> PairReduction::GetWindows() const {
    std::vector<Window> windows;
    for (const Segment& y : down)
        for (const Segment& x : across)
            windows.push_back({{x.first, y.first, x.end, y.end}, x.at, y.at});
    return windows;
}

DegradedRows PairReduction::ReducePan(hostkit::ImageSource& image, const Window& window,
                                      double transfer) const {
    auto axes = AxesOnto(pan, multispectral, window.taken, std::span(&transfer, 1));
    const auto [left, right] = axes.across.GetReach();
    const hostkit::PixelRect needed = {left, 0, std::max(right, left + 1), pan.rows};
    return {std::make_unique<ImageRows>(image, needed), std::move(axes.across), std::move(axes.down), left};
}

DegradedRows PairReduction::ReduceTruth(RowSource& truthRows, std::span<const double> transfers) const {
    return {truthRows, CoarseAxis(across, ratioX, transfers), CoarseAxis(down, ratioY, transfers)};
}

HeldImage::HeldImage(std::string imageName, std::uint32_t columns, std::uint32_t rows, std::uint32_t bands,
                     std::uint32_t bits, double pixelWidth, double pixelHeight)
    : name(std::move(imageName)), samples(std::size_t{columns} * rows * bands),
      hasData(std::size_t{columns} * rows) {
    info.cols = columns;
    info.rows = rows;
    info.bandsPerPixel = bands;
    info.bitsPerBand = bits;
    info.pixelSizeX = pixelWidth;
    info.pixelSizeY = pixelHeight;
    info.xMax = columns * pixelWidth;
    info.yMin = -(rows * pixelHeight);
}

bool HeldImage::Put(RowSource& image, std::uint32_t column, std::uint32_t row, Status& status) {
    SampleRows part;
    const std::size_t bands = info.bandsPerPixel, columns = image.GetColumns();
    return ForStrips(image, [&](std::uint32_t first, std::uint32_t end) {
        if (!image.Read(first, end, part, status)) return false;
        for (std::uint32_t of = first; of < end; ++of) {
            const std::size_t from = (of - first) * columns;
            const std::size_t to = std::size_t{row + of} * info.cols + column;
            std::copy_n(part.samples.begin() + static_cast<std::ptrdiff_t>(from * bands), columns * bands,
                        samples.begin() + static_cast<std::ptrdiff_t>(to * bands));
            std::copy_n(part.valid.begin() + static_cast<std::ptrdiff_t>(from), columns,
                        hasData.begin() + static_cast<std::ptrdiff_t>(to));
        }
        return true;
    });
}

bool HeldImage::Read(const PixelRect& rect, unsigned char* out, Status&) {
    const std::size_t bands = info.bandsPerPixel, count = rect.GetColumns() * bands;
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row) {
        const unsigned short* from = samples.data() + (std::size_t{row} * info.cols + rect.col0) * bands;
        if (info.bitsPerBand == 8)
            out = std::transform(from, from + count, out,
                                 [](unsigned short sample) { return static_cast<unsigned char>(sample); });
        else {
            std::copy_n(from, count, reinterpret_cast<unsigned short*>(out));
            out += count * sizeof(unsigned short);
        }
    }
    return true;
}

bool HeldImage::ReadValid(const PixelRect& rect, const unsigned char*, unsigned char* valid, Status&) {
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row) {
        const unsigned char* from = hasData.data() + std::size_t{row} * info.cols + rect.col0;
        valid = std::transform(from, from + rect.GetColumns(), valid, [](unsigned char has) {
            return static_cast<unsigned char>(has != 0 ? 255 : 0);
        });
    }
    return true;
}

} // namespace imagery
