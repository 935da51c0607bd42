#include "rasterhost/scene/Collars.h"

#include "fundament/Text.h"
#include "rasterhost/reading/DataCheck.h"
#include "rasterhost/reading/ZeroCollar.h"

#include <algorithm>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr double leastShareOfEdge = 0.05;

/// Zeros among pixels of the edge: all of the first and last row, and a regular choice of rows between, since
/// files in strips have to be read whole for their first column.
class EdgeZeros {
public:
    explicit EdgeZeros(hostkit::ImageSource& edgeOf) : image(edgeOf) {}

    [[nodiscard]] bool Count(Status& status) {
        const auto& info = image.GetInfo();
        constexpr std::uint32_t places = 256;
        const std::uint32_t step = std::max(info.rows / places, 1u);
        if (!See({0, 0, info.cols, 1}, status) || !See({0, info.rows - 1, info.cols, info.rows}, status))
            return false;
        for (std::uint32_t row = step; row + 1 < info.rows; row += step)
            if (!See({0, row, 1, row + 1}, status) || !See({info.cols - 1, row, info.cols, row + 1}, status))
                return false;
        return true;
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

CollarSearch FindCollar(InputImage& image, const Warn& warn, const std::function<bool()>& keepOn,
                        Status& status) {
    EdgeZeros edge(image);
    if (!edge.Count(status)) return CollarSearch::Failed;
    if (!edge.AreMany()) return CollarSearch::Done;

    constexpr std::size_t blockBytes = std::size_t{16} << 20;
    constexpr std::uint64_t mostPixels = std::uint64_t{1} << 34; // hours, whatever a file declares
    const auto& info = image.GetInfo();
    if (std::uint64_t{info.cols} * info.rows > mostPixels) {
        warn(FormatString(
            "many pixels at the edge of %s are 0 in all bands, and it is too large to be searched for a "
            "collar; they are taken as data (--nodata 0 takes zeros as no data)",
            image.GetName().c_str()));
        return CollarSearch::Done;
    }
    const std::size_t rowBytes = info.cols * hostkit::PixelBytes(info);
    const auto blockRows = static_cast<std::uint32_t>(std::max<std::size_t>(blockBytes / rowBytes, 1));
    std::vector<unsigned char> samples(rowBytes * std::min(blockRows, info.rows));
    ZeroCollar::Finder finder(info.cols, hostkit::PixelBytes(info));
    for (std::uint32_t row = 0; row < info.rows; row += blockRows) {
        if (keepOn && !keepOn()) return CollarSearch::Cancelled;
        const std::uint32_t end = std::min(row + blockRows, info.rows);
        if (!image.Read({0, row, info.cols, end}, samples.data(), status)) return CollarSearch::Failed;
        for (std::uint32_t r = row; r < end; ++r)
            finder.AddRow(samples.data() + (r - row) * rowBytes);
        if (finder.IsTooRagged()) {
            warn(FormatString(
                "many pixels at the edge of %s are 0 in all bands, but not in the shape of a collar without "
                "data; they are taken as data (--nodata 0 takes zeros as no data)",
                image.GetName().c_str()));
            return CollarSearch::Done;
        }
    }
    auto collar = std::make_unique<ZeroCollar>(finder.Finish());
    const std::uint64_t pixels = std::uint64_t{info.cols} * info.rows;
    if (collar->GetPixels() == pixels) {
        Fail(status, HostStatus::InputsDoNotFit,
             "every pixel of %s is 0 in all bands; is it the right file? --no-nodata takes "
             "zeros as data",
             image.GetName().c_str());
        return CollarSearch::Failed;
    }
    warn(
        FormatString("%.3g %% of the pixels of %s are a collar of zeros along its edge that is not declared; "
                     "it is taken as no data (--no-nodata takes it as data)",
                     100.0 * static_cast<double>(collar->GetPixels()) / static_cast<double>(pixels),
                     image.GetName().c_str()));
    image.SetCollar(std::move(collar));
    return CollarSearch::Done;
}

} // namespace

CollarSearch FindCollars(Scene& scene, const Warn& warn, const std::function<bool()>& keepOn,
                         Status& status) {
    if (scene.sampleOptions.isIgnored) return CollarSearch::Done;
    std::vector<InputImage*> images{scene.pan.get()};
    for (const PlacedImage& coarse : scene.images)
        images.push_back(coarse.image.get());
    for (InputImage* image : images) {
        const CollarSearch result = image->GetDescription()->DeclaresZerosOrMask()
                                        ? CollarSearch::Done
                                        : FindCollar(*image, warn, keepOn, status);
        if (result != CollarSearch::Done) return result;
        const DataSearch found = FindData(*image, keepOn, status);
        if (found == DataSearch::Cancelled) return CollarSearch::Cancelled;
        if (found != DataSearch::Found) return CollarSearch::Failed;
    }
    return CollarSearch::Done;
}

} // namespace rasterhost
