#include "rasterhost/assessing/ReducedScene.h"

#include "fundament/Text.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"
#include "imagery/DegradedRows.h"
#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/writing/PlainFile.h"

#include <cpl_conv.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <list>

namespace rasterhost {

using imagery::DegradedRows;
using imagery::DegradeOnto;
using imagery::ImageRows;
using imagery::MaskedRows;
using imagery::UpsampledRows;

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;
using quality::GaussianAxis;

namespace {

constexpr std::uint32_t mostWhole = 1536; // multispectral pixels along an axis
constexpr std::uint32_t windowsAlong = 3;

/// Multispectral pixels of the scene along an axis, and where they stand in the reduced one.
struct Segment {
    std::uint32_t first = 0, end = 0;
    std::uint32_t at = 0;

    [[nodiscard]] std::uint32_t GetLength() const { return end - first; }
};

/// All of an axis, or windows evenly spread over it.
std::vector<Segment> Divide(std::uint32_t first, std::uint32_t end) {
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

std::uint32_t Length(const std::vector<Segment>& segments) {
    return segments.back().at + segments.back().GetLength();
}

/// The coarse pixels of an axis: each is made of one segment.
GaussianAxis CoarseAxis(const std::vector<Segment>& segments, double ratio,
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

/// Multispectral pixels that lie, with their centres, on pan.
PixelRect OnPan(const RasterInfo& pan, const RasterInfo& ms) {
    const auto clip = [](double at, std::uint32_t pixels) {
        return static_cast<std::uint32_t>(std::clamp(std::ceil(at - 0.5), 0.0, static_cast<double>(pixels)));
    };
    return {clip((pan.xMin - ms.xMin) / ms.pixelSizeX, ms.cols),
            clip((ms.yMax - pan.yMax) / ms.pixelSizeY, ms.rows),
            clip((pan.xMax - ms.xMin) / ms.pixelSizeX, ms.cols),
            clip((ms.yMax - pan.yMin) / ms.pixelSizeY, ms.rows)};
}

/// Writes the images.
class Reduction {
public:
    Reduction(const Scene& images, const SensorBlur& sensorBlur, ReducedScene& reducedScene, Status& failure)
        : scene(images), blur(sensorBlur), reduced(reducedScene), status(failure),
          infraredImage(images.HasInfrared() ? images.images.back().image.get() : nullptr),
          ms(images.GetMultispectral().GetInfo()) {}

    bool Run() {
        const RasterInfo& fine = scene.pan->GetInfo();
        reduced.ratioX = ms.pixelSizeX / fine.pixelSizeX;
        reduced.ratioY = ms.pixelSizeY / fine.pixelSizeY;
        const PixelRect shared = OnPan(fine, ms);
        if (shared.GetColumns() < 8.0 * reduced.ratioX || shared.GetRows() < 8.0 * reduced.ratioY)
            return Fail(status, HostStatus::InputsDoNotFit,
                        "the images share %u x %u multispectral pixels; that is too few to degrade "
                        "them by %.6g x %.6g and compare",
                        shared.GetColumns(), shared.GetRows(), reduced.ratioX, reduced.ratioY);
        across = Divide(shared.col0, shared.col1);
        down = Divide(shared.row0, shared.row1);
        reduced.columns = Length(across);
        reduced.rows = Length(down);
        reduced.windows = static_cast<std::uint32_t>(across.size() * down.size());
        const std::span<const double> all(blur.multispectral);
        const bool isOne = all.size() == 1;
        reduced.hasInfrared = infraredImage != nullptr;
        return WriteFine() &&
               WriteCoarse(reduced.GetTruth(), reduced.GetMultispectral(),
                           isOne ? all : all.first(ms.bandsPerPixel)) &&
               (!infraredImage ||
                WriteCoarse(reduced.GetFineInfrared(), reduced.GetInfrared(), all.last(1))) &&
               WriteMask();
    }

private:
    [[nodiscard]] PlainShape Shape(std::uint32_t columns, std::uint32_t rows, std::uint32_t bands,
                                   double sizeX, double sizeY) const {
        return {columns, rows, bands, scene.pan->GetInfo().bitsPerBand, scene.bitDepth, {sizeX, sizeY}};
    }

    /// Pan on the multispectral grid, the truth and the infrared band.
    bool WriteFine() {
        const auto create = [&](const std::string& name, std::uint32_t bands) {
            return PlainFile::Create(name, Shape(reduced.columns, reduced.rows, bands, 1.0, 1.0), status);
        };
        const auto pan = create(reduced.GetPan(), 1);
        const auto truth = pan ? create(reduced.GetTruth(), ms.bandsPerPixel) : nullptr;
        const auto infrared = truth && infraredImage ? create(reduced.GetFineInfrared(), 1) : nullptr;
        if (!truth || (infraredImage && !infrared)) return false;
        ImageRows panRows(*scene.pan);
        for (const Segment& y : down)
            for (const Segment& x : across) {
                const PixelRect rect = {x.first, y.first, x.end, y.end};
                DegradedRows seen =
                    DegradeOnto(panRows, scene.pan->GetInfo(), ms, rect, std::span(&blur.pan, 1));
                ImageRows window(*scene.GetMultispectral().image, rect);
                if (!pan->Write(seen, x.at, y.at, status) || !truth->Write(window, x.at, y.at, status))
                    return false;
                if (!infrared) continue;
                ImageRows band(*infraredImage, rect);
                if (!infrared->Write(band, x.at, y.at, status)) return false;
            }
        return pan->Close(status) && truth->Close(status) && (!infrared || infrared->Close(status));
    }

    bool WriteCoarse(const std::string& fine, const std::string& name, std::span<const double> transfers) {
        const auto image = InputImage::Open({{fine, {}}}, "reduced", {}, status);
        if (!image) return false;
        ImageRows rows(*image);
        DegradedRows coarse(rows, CoarseAxis(across, reduced.ratioX, transfers),
                            CoarseAxis(down, reduced.ratioY, transfers));
        const auto file =
            PlainFile::Create(name,
                              Shape(coarse.GetColumns(), coarse.GetRows(), image->GetInfo().bandsPerPixel,
                                    reduced.ratioX, reduced.ratioY),
                              status);
        return file && file->Write(coarse, 0, 0, status) && file->Close(status);
    }

    /// Narrows the truth's mask down to the pixels to compare.
    bool WriteMask() {
        const auto pan = InputImage::Open({{reduced.GetPan(), {}}}, "reduced", {}, status);
        const auto truth = InputImage::Open({{reduced.GetTruth(), {}}}, "reduced", {}, status);
        if (!pan || !truth) return false;
        const RasterInfo& grid = pan->GetInfo();
        ImageRows panRows(*pan), truthRows(*truth);
        std::vector<std::unique_ptr<InputImage>> coarse;
        std::list<hostkit::AxisPlacement> placements;
        std::list<UpsampledRows> cubic;
        std::list<MaskedRows> masked;
        masked.emplace_back(truthRows, panRows);
        for (const std::string& name : {reduced.GetMultispectral(), reduced.GetInfrared()}) {
            if (!infraredImage && !coarse.empty()) break;
            coarse.push_back(InputImage::Open({{name, {}}}, "reduced", {}, status));
            if (!coarse.back()) return false;
            placements.emplace_back(grid, coarse.back()->GetInfo());
            cubic.emplace_back(*coarse.back(), placements.back(), hostkit::WholeImage(grid),
                               hostkit::Resampling::Cubic, false);
            masked.emplace_back(masked.back(), cubic.back());
        }
        const auto file = PlainFile::Open(reduced.GetTruth(), status);
        return file && file->WriteMask(masked.back(), status) && file->Close(status);
    }

    const Scene& scene;
    const SensorBlur& blur;
    ReducedScene& reduced;
    Status& status;
    InputImage* infraredImage; ///< null without one
    const RasterInfo ms;
    std::vector<Segment> across, down;
};

} // namespace

std::unique_ptr<ReducedScene> ReducedScene::Make(const Scene& scene, const SensorBlur& blur, Status& status) {
    static std::atomic<unsigned> made{0};
    std::unique_ptr<ReducedScene> reduced(new ReducedScene);
    reduced->folder = FormatString("/vsimem/pansharp-reduced-%d-%u", OwnProcess(), made++);
    return Reduction(scene, blur, *reduced, status).Run() ? std::move(reduced) : nullptr;
}

bool ReducedScene::Keep(WorkFolder& target, bool overwrite, Status& status) const {
    const GdalErrors errors;
    for (const std::string name : GetNames(hasInfrared))
        if (CPLCopyFile(target.GetFile(name).c_str(), (folder + "/" + name).c_str()) != 0)
            return Fail(status, HostStatus::OutputNotWritten, "'%s' cannot be written; is the disk full?%s",
                        target.GetPlace(name).c_str(), errors.Reason().c_str());
    return target.Deliver(overwrite, status);
}

ReducedScene::~ReducedScene() { VSIRmdirRecursive(folder.c_str()); }

} // namespace rasterhost
