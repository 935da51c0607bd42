#include "rasterhost/assessing/ReducedScene.h"

#include "fundament/Text.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"
#include "imagery/PairReduction.h"
#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/writing/PlainFile.h"

#include <cpl_conv.h>
#include <cpl_vsi.h>

#include <atomic>
#include <list>

namespace rasterhost {

using imagery::DegradedRows;
using imagery::ImageRows;
using imagery::MaskedRows;
using imagery::UpsampledRows;

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// Writes the images.
class Reduction {
public:
    Reduction(const Scene& images, const SensorBlur& sensorBlur, ReducedScene& reducedScene, Status& failure)
        : scene(images), blur(sensorBlur), reduced(reducedScene), status(failure),
          infraredImage(images.HasInfrared() ? images.images.back().image.get() : nullptr),
          ms(images.GetMultispectral().GetInfo()), reduction(scene.pan->GetInfo(), ms) {}

    bool Run() {
        if (!reduction.GetObstacle().empty())
            return Fail(status, HostStatus::InputsDoNotFit, "%s", reduction.GetObstacle().c_str());
        reduced.ratioX = reduction.GetRatioX();
        reduced.ratioY = reduction.GetRatioY();
        reduced.columns = reduction.GetColumns();
        reduced.rows = reduction.GetRows();
        reduced.windows = static_cast<std::uint32_t>(reduction.GetWindows().size());
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
        for (const imagery::PairReduction::Window& window : reduction.GetWindows()) {
            DegradedRows seen = reduction.ReducePan(*scene.pan, window, blur.pan);
            ImageRows rows(*scene.GetMultispectral().image, window.taken);
            if (!pan->Write(seen, window.column, window.row, status) ||
                !truth->Write(rows, window.column, window.row, status))
                return false;
            if (!infrared) continue;
            ImageRows band(*infraredImage, window.taken);
            if (!infrared->Write(band, window.column, window.row, status)) return false;
        }
        return pan->Close(status) && truth->Close(status) && (!infrared || infrared->Close(status));
    }

    bool WriteCoarse(const std::string& fine, const std::string& name, std::span<const double> transfers) {
        const auto image = InputImage::Open({{fine, {}}}, "reduced", {}, status);
        if (!image) return false;
        ImageRows rows(*image);
        DegradedRows coarse = reduction.ReduceTruth(rows, transfers);
        const auto file =
            PlainFile::Create(name,
                              Shape(coarse.GetColumns(), coarse.GetRows(), image->GetInfo().bandsPerPixel,
                                    reduced.ratioX, reduced.ratioY),
                              status);
        return file && file->Write(coarse, 0, 0, status) && file->Close(status);
    }

    /// Restricts the truth's mask to the pixels to compare.
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
    const imagery::PairReduction reduction;
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
