#include "rasterhost/writing/OutputTrial.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/OutputDescription.h"

#include <gdal_priv.h>

#include <filesystem>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr int trialSize = 64; // pixels across and down

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
        CPLStringList options = isCopied         ? CPLStringList()
                                : plan.writesCog ? plan.pixelOptions
                                                 : plan.options;
        const bool isTiff = plan.format.isTiff || plan.writesCog;
        if (isTiff && !isCopied) options.SetNameValue("SPARSE_OK", "YES"); // blocks may be large
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
        if (isCopied) return Copy(file, *image);
        if (!isTiff) LookAtBlocks(*image);
        if (!isTiff && !Fill(*image) && !errors.HasFailed()) return ": it takes no pixels";
        image.reset();
        return errors.Reason();
    }

private:
    [[nodiscard]] GDALDataType GetType() const {
        return plan.bits == 8 || plan.isPicture ? GDT_Byte : GDT_UInt16;
    }

    void LookAtBlocks(GDALDataset& image) {
        int width = 0, height = 1;
        image.GetRasterBand(1)->GetBlockSize(&width, &height);
        plan.blockRows = static_cast<std::uint32_t>(height);
    }

    [[nodiscard]] std::string Copy(const std::string& file, GDALDataset& image) {
        const GdalErrors errors;
        GDALDatasetUniquePtr copy(driver.CreateCopy(file.c_str(), &image, FALSE,
                                                    CPLStringList(plan.options).List(), nullptr, nullptr));
        if (!copy && errors.Reason().empty()) return ": no reason is given";
        copy.reset();
        return errors.Reason();
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
    folder.ClearSpare();
    if (reason.empty()) return true;
    OutputPlan picture = plan;
    picture.isPicture = picture.format.isCopied = true;
    const bool helps = !plan.isPicture && plan.bits > 8 && make(picture).empty();
    folder.ClearSpare();
    return Fail(status, HostStatus::OutputRefused,
                "the format '%s' cannot hold an image of %u bands of %u bits with the creation "
                "options given%s%s",
                plan.format.name.c_str(), plan.rules.GetFileBands(), plan.isPicture ? 8 : plan.bits,
                reason.c_str(), helps ? "; --byte makes 8 bits of them, to be looked at" : "");
}

} // namespace rasterhost
