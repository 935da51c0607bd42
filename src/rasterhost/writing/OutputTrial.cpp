#include "rasterhost/writing/OutputTrial.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/OutputDescription.h"
#include "rasterhost/writing/WorldFiles.h"

#include <gdal_priv.h>

#include <array>
#include <filesystem>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr int trialSize = 64; // pixels across and down
constexpr std::uint64_t mostFilledBytes = std::uint64_t{16} << 20;

/// The position of the same trial with its rows from the bottom, as netCDF stores those of a south-up image.
std::array<double, 6> Flipped(const std::array<double, 6>& t) {
    return {t[0] + trialSize * t[2], t[1], -t[2], t[3] + trialSize * t[5], t[4], -t[5]};
}

class Trial {
public:
    Trial(const SharpenRequest& sharpenRequest, const Scene& images, OutputPlan& outputPlan)
        : request(sharpenRequest), scene(images), plan(outputPlan),
          driver(*GetGDALDriverManager()->GetDriverByName(plan.writesCog ? "GTiff"
                                                                         : plan.format.name.c_str())) {}

    /// Empty when it was made, else ": " and the reason.
    [[nodiscard]] std::string Make(const std::string& file) {
        const bool isCopied = plan.IsCopied();
        GDALDriver& maker = isCopied ? *GetGDALDriverManager()->GetDriverByName("MEM") : driver;
        CPLStringList options = isCopied ? CPLStringList() : plan.pixelOptions;
        const bool isTiff = plan.format.isTiff || plan.writesCog;
        if (isTiff && !isCopied) options.SetNameValue("SPARSE_OK", "YES"); // blocks may be large
        if (options.FetchNameValue("NUM_THREADS"))
            options.SetNameValue("NUM_THREADS", "1"); // its errors count
        const GdalErrors errors;
        GDALDatasetUniquePtr image(maker.Create(isCopied ? "" : file.c_str(), trialSize, trialSize,
                                                static_cast<int>(plan.rules.GetFileBands()), GetType(),
                                                options.List()));
        if (!image) return errors.Reason().empty() ? ": no reason is given" : errors.Reason();
        if (image->GetRasterCount() < static_cast<int>(plan.rules.GetFileBands()))
            return FormatString(": it takes only %d of %u bands", image->GetRasterCount(),
                                plan.rules.GetFileBands());
        {
            const GdalErrors silence; // properties that the format cannot store are dropped
            DescribeOutput(scene, scene.part, plan.rules, {{"Method", request.method}}, *image);
        }
        if (isCopied) {
            if (NeedsMask() && (image->CreateMaskBand(GMF_PER_DATASET) != CE_None ||
                                image->GetRasterBand(1)->GetMaskBand()->Fill(255.0) != CE_None))
                return errors.Reason();
            const std::string reason = Copy(file, *image);
            return reason.empty() ? LookAtCopy(file) : reason;
        }
        if (!TakesPixels(*image, isTiff) && !errors.HasFailed()) return ": it takes no pixels";
        image.reset();
        if (std::string reason = errors.Reason(); isTiff || !reason.empty()) return reason;
        const std::string reason = LookAtCopy(file);
        return reason.empty() ? TryMask(file) : reason;
    }

private:
    [[nodiscard]] GDALDataType GetType() const {
        return plan.bits == 8 || plan.isPicture ? GDT_Byte : GDT_UInt16;
    }

    /// Finds the rows per block, and writes pixels. A plain GeoTIFF takes them all, and the blocks of others
    /// may be too large for a trial.
    [[nodiscard]] bool TakesPixels(GDALDataset& image, bool isTiff) {
        int width = 0, height = 1;
        image.GetRasterBand(1)->GetBlockSize(&width, &height);
        if (!isTiff) plan.blockRows = static_cast<std::uint32_t>(height);
        const std::uint64_t bytes =
            static_cast<std::uint64_t>(width) * static_cast<unsigned>(height) * plan.GetPixelBytes();
        return (isTiff && (plan.options.empty() || bytes > mostFilledBytes)) || Fill(image);
    }

    [[nodiscard]] std::string Copy(const std::string& file, GDALDataset& image) {
        const GdalErrors errors;
        GDALDatasetUniquePtr copy(driver.CreateCopy(file.c_str(), &image, FALSE,
                                                    CPLStringList(plan.options).List(), nullptr, nullptr));
        if (!copy && errors.Reason().empty()) return ": no reason is given";
        copy.reset();
        return errors.Reason();
    }

    /// Reads back what was written, if GDAL can, and finds what is lost. Of subdatasets only the names are
    /// seen.
    [[nodiscard]] std::string LookAtCopy(const std::string& file) {
        const GdalErrors silence;
        const GDALDatasetUniquePtr image(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
        if (!image || image->GetMetadata("SUBDATASETS")) return {};
        const auto wanted = static_cast<int>(plan.rules.GetFileBands()), kept = image->GetRasterCount();
        const auto bands = static_cast<int>(plan.rules.bands);
        // A last band for transparency may come back as a mask.
        const bool isMask = plan.rules.hasAlpha && kept == bands &&
                            (image->GetRasterBand(1)->GetMaskFlags() & GMF_PER_DATASET) != 0;
        if (kept < wanted && !isMask) return FormatString(": it keeps only %d of %d bands", kept, wanted);
        const auto isAlpha = [&](int band) {
            return image->GetRasterBand(band)->GetColorInterpretation() == GCI_AlphaBand;
        };
        plan.losses.clear();
        if (!plan.rules.hasAlpha && kept == wanted && isAlpha(kept))
            plan.losses.emplace_back("has a last band that programs take for transparency");
        if (plan.rules.hasAlpha && !isMask && !isAlpha(kept))
            plan.losses.emplace_back("does not mark its last band as transparency");
        int hasValue = 0;
        const double value = image->GetRasterBand(1)->GetNoDataValue(&hasValue);
        if (plan.rules.noData && !(hasValue != 0 && value == *plan.rules.noData))
            plan.losses.push_back(FormatString("does not say that %u means no data", *plan.rules.noData));
        if (!plan.rules.noData && hasValue != 0 && value >= 0.0 && value <= plan.rules.largest)
            plan.losses.push_back(FormatString("says that %.6g means no data", value));
        if (plan.IsCopied() && NeedsMask() &&
            (image->GetRasterBand(1)->GetMaskFlags() & GMF_PER_DATASET) == 0)
            plan.losses.emplace_back("does not mark pixels without data");
        std::array<double, 6> place{};
        const auto wantedPlace = PlaceOfPart(scene, scene.part);
        const bool hasPlace = image->GetGeoTransform(place.data()) == CE_None;
        if (wantedPlace && !hasPlace && image->GetGCPCount() == 0)
            plan.losses.emplace_back("has no position");
        else if (wantedPlace && hasPlace && !LieAlike(*wantedPlace, place, trialSize) &&
                 !LieAlike(*wantedPlace, Flipped(place), trialSize))
            plan.losses.emplace_back("lies at another place than pan, or on another grid");
        return {};
    }

    [[nodiscard]] bool MayNeedMask() const {
        return !plan.rules.noData && !plan.rules.hasAlpha && scene.MayLackData();
    }
    /// Whether pixels are known to have no data, and neither a value nor a band marks them.
    [[nodiscard]] bool NeedsMask() const { return MayNeedMask() && scene.covered != scene.part; }

    [[nodiscard]] std::string TryMask(const std::string& file) {
        if (!MayNeedMask()) return {};
        const GdalErrors silence;
        const GDALDatasetUniquePtr image(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
        if (image && image->CreateMaskBand(GMF_PER_DATASET) == CE_None) return {};
        if (NeedsMask())
            return ": it keeps no mask, and some pixels have no data; mark them by a value (--nodata) or a "
                   "band (--alpha)";
        plan.losses.emplace_back("keeps no mask: if a pixel has no data, the run fails, unless --nodata or "
                                 "--alpha marks such pixels");
        return {};
    }

    [[nodiscard]] bool Fill(GDALDataset& image) const {
        const auto bands = static_cast<int>(plan.rules.GetFileBands());
        std::vector<std::uint16_t> samples(
            static_cast<std::size_t>(trialSize) * trialSize * static_cast<std::size_t>(bands), 1);
        return image.RasterIO(GF_Write, 0, 0, trialSize, trialSize, samples.data(), trialSize, trialSize,
                              GDT_UInt16, bands, nullptr, 0, 0, 0, nullptr) == CE_None;
    }

    const SharpenRequest& request;
    const Scene& scene;
    OutputPlan& plan;
    GDALDriver& driver;
};

} // namespace

bool TryOutput(const SharpenRequest& request, const Scene& scene, OutputPlan& plan, WorkFolder& folder,
               std::vector<std::string>& names, Status& status) {
    const std::uint32_t bands = plan.rules.bands;
    // These formats take a second or fourth band as opacity, or all four as inks.
    const bool showsColours =
        plan.format.name == "PNG" || plan.format.name == "JPEG" || plan.format.name == "WEBP";
    if (plan.isPicture && showsColours && bands != 1 && bands != 3)
        return Fail(
            status, HostStatus::OutputRefused,
            "a picture in the format '%s' shows one band or three, but there are %u; choose them with "
            "--rgb or --bands",
            plan.format.name.c_str(), bands);
    const std::string file = folder.GetSpare(std::filesystem::path(folder.GetPlace()).filename().string());
    const auto make = [&](OutputPlan& tried) {
        std::string reason = Trial(request, scene, tried).Make(file);
        if (reason.empty() && !LookAt(file).exists) reason = ": it writes no file";
        return reason;
    };
    const std::string reason = make(plan);
    names = folder.ListSpare();
    const std::string moving = reason.empty() ? FindMovingFile(file, trialSize, folder, names) : "";
    folder.ClearSpare();
    if (!moving.empty()) // and is not removed: it may belong to an image that stays
        return Fail(status, HostStatus::OutputRefused,
                    "the file '%s' would give the output '%s' another position; remove it, or choose another "
                    "name",
                    moving.c_str(), request.output.c_str());
    if (reason.empty()) return true;
    OutputPlan picture = plan;
    picture.isPicture = picture.format.isCopied = true;
    const bool helps = !plan.isPicture && plan.bits > 8 && make(picture).empty();
    folder.ClearSpare();
    return Fail(status, HostStatus::OutputRefused,
                "the format '%s' cannot hold an image of %u band%s of %u bits with the creation "
                "options given%s%s",
                plan.format.name.c_str(), plan.rules.GetFileBands(),
                plan.rules.GetFileBands() == 1 ? "" : "s", plan.isPicture ? 8 : plan.bits, reason.c_str(),
                helps ? "; --byte makes 8 bits of them, to be looked at" : "");
}

} // namespace rasterhost
