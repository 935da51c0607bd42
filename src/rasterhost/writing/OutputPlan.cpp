#include "rasterhost/writing/OutputPlan.h"

#include "fundament/Text.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/CogOptions.h"
#include "rasterhost/writing/OutputDescription.h"
#include "rasterhost/writing/TileWriter.h"

#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>

namespace rasterhost {

using imagery::OutputRules;

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

CPLStringList FormatOptions(const SharpenRequest& request, const OutputFormat& format) {
    CPLStringList asked, options;
    for (const std::string& option : request.creationOptions)
        asked.AddString(option.c_str());
    const bool saysHowGood =
        std::any_of(format.qualityOptions.begin(), format.qualityOptions.end(),
                    [&](const char* name) { return asked.FetchNameValue(name) != nullptr; });
    if (!saysHowGood)
        for (const char* exact : format.exactOptions)
            options.AddString(exact);
    for (int i = 0; i < asked.size(); ++i)
        options.AddString(asked[i]);
    return options;
}

/// Sets the options of a GeoTIFF that the request leaves open.
void SuggestTiffOptions(const OutputPlan& plan, const Scene& scene, CPLStringList& options) {
    const auto suggest = [&](const char* name, const char* value) {
        if (!options.FetchNameValue(name)) options.SetNameValue(name, value);
    };
    suggest("TILED", "YES");
    if (options.FetchBool("TILED", false)) {
        // Windows are whole rows of tiles, so very wide scenes get lower tiles.
        constexpr std::uint64_t mostBytes = std::uint64_t{96} << 20;
        int height = 256;
        while (height > 64 && plan.columns * plan.GetPixelBytes() * static_cast<unsigned>(height) > mostBytes)
            height /= 2;
        suggest("BLOCKXSIZE", "256");
        suggest("BLOCKYSIZE", FormatString("%d", height).c_str());
    }
    suggest("INTERLEAVE", "PIXEL");
    suggest("BIGTIFF", "IF_SAFER");
    const std::vector<GDALColorInterp> colours = ColoursOf(scene, scene.outputBands);
    const bool isRgb = colours.size() >= 3 && colours[0] == GCI_RedBand && colours[1] == GCI_GreenBand &&
                       colours[2] == GCI_BlueBand;
    suggest("PHOTOMETRIC", isRgb ? "RGB" : "MINISBLACK");
    suggest("ALPHA", "NO"); // else a fourth band would be alpha; the band's colour marks it
    if (options.FetchNameValue("COMPRESS")) suggest("NUM_THREADS", FormatString("%d", plan.threads).c_str());
}

/// Rows per block of the file that GDAL creates with these options; 1 when it creates none.
std::uint32_t TiffBlockRows(const OutputPlan& plan) {
    if (plan.options.size() == 0) // all suggested here: GDAL makes such tiles as they are asked for
        return static_cast<std::uint32_t>(std::atoi(plan.pixelOptions.FetchNameValue("BLOCKYSIZE")));
    constexpr std::uint32_t mostStripRows = 8192; // GDAL makes strips of 8192 bytes, or of one row
    const std::string name = FormatString("/vsimem/pansharp-plan-%p.tif", static_cast<const void*>(&plan));
    CPLStringList options(plan.pixelOptions);
    options.SetNameValue("SPARSE_OK", "YES");
    const GdalErrors silence;
    GDALDatasetUniquePtr made(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
        name.c_str(), static_cast<int>(plan.columns), static_cast<int>(std::min(plan.rows, mostStripRows)),
        static_cast<int>(plan.rules.GetFileBands()), plan.bits == 8 ? GDT_Byte : GDT_UInt16, options.List()));
    int width = 0, height = 1;
    if (made) made->GetRasterBand(1)->GetBlockSize(&width, &height);
    made.reset();
    VSIUnlink(name.c_str());
    return static_cast<std::uint32_t>(height);
}

/// Whether the file takes windows as tiles.
bool TakesTiles(const SharpenRequest& request, const OutputPlan& plan) {
    if (request.windowRows % plan.blockRows != 0) return false;
    // A file that is opened again no longer knows its options for quality and threads.
    return plan.writesCog ||
           (!StartsWith(request.output, "/vsimem/", false) && TileWriter::CanWrite(plan.pixelOptions));
}

/// A window is at least a row of tiles. GDAL allows low tiles only where they need not be square.
bool WritesCog(const SharpenRequest& request, const OutputPlan& plan, CPLStringList& tiffOptions) {
    constexpr std::uint64_t mostBytes = std::uint64_t{64} << 20;
    if (!EQUAL(plan.format.name.c_str(), "COG") || plan.isPicture || !PlanCog(plan.options, tiffOptions))
        return false;
    const auto side = static_cast<std::uint64_t>(std::atoi(tiffOptions.FetchNameValue("BLOCKYSIZE")));
    const auto levels = LevelsOf(plan.options, plan.columns, plan.rows, static_cast<std::uint32_t>(side));
    // GDAL makes overviews that follow one of a single column from a finer image, which would have to be
    // held.
    const bool isFromNext = levels.size() < 3 || levels[levels.size() - 2].columns > 1;
    return isFromNext && request.windowRows % side == 0 &&
           side * plan.columns * plan.GetPixelBytes() <= mostBytes;
}

void PlanTiff(const SharpenRequest& request, const Scene& scene, OutputPlan& plan) {
    SuggestTiffOptions(plan, scene, plan.pixelOptions);
    plan.isCompressed = !EQUAL(plan.pixelOptions.FetchNameValueDef("COMPRESS", "NONE"), "NONE");
    plan.blockRows = TiffBlockRows(plan);
    if (TakesTiles(request, plan))
        plan.layout = {static_cast<std::uint32_t>(std::atoi(plan.pixelOptions.FetchNameValue("BLOCKXSIZE"))),
                       plan.blockRows};
}

} // namespace

OutputRules MakeOutputRules(const OutputRequest& request, const Scene& scene) {
    OutputRules rules;
    rules.bands = scene.outputBands;
    rules.largest = (1u << scene.bitDepth) - 1;
    rules.hasAlpha = request.alpha;
    if (request.alpha) return rules;
    const int most = scene.pan->GetInfo().bitsPerBand == 8 ? 0xFF : 0xFFFF;
    std::vector<const InputImage*> images;
    for (const PlacedImage& coarse : scene.images) {
        if (coarse.role == Role::Infrared) images.push_back(scene.pan.get());
        images.push_back(coarse.image.get());
    }
    images.push_back(scene.pan.get());
    for (const InputImage* image : images) {
        const std::optional<int> value = image->GetDescription()->GetNoDataValue();
        if (!rules.noData && value && *value >= 0 && *value <= most)
            rules.noData = static_cast<std::uint32_t>(*value);
    }
    return rules;
}

OutputPlan PlanOutput(const SharpenRequest& request, const OutputFormat& format, const Scene& scene,
                      int threads) {
    OutputPlan plan;
    plan.format = format;
    plan.isPicture = request.isPicture;
    plan.format.isCopied = format.isCopied || request.isPicture;
    plan.rules = MakeOutputRules(request, scene);
    if (plan.isPicture)
        plan.rules.noData.reset(); // a stretched sample may have this value, so a mask is used
    plan.columns = scene.part.GetColumns();
    plan.rows = scene.part.GetRows();
    plan.threads = threads;
    plan.bits = scene.pan->GetInfo().bitsPerBand;
    plan.options = FormatOptions(request, format);
    plan.writesTiff = format.isTiff || plan.format.isCopied;
    CPLStringList tiffOptions;
    plan.writesCog = WritesCog(request, plan, tiffOptions);
    if (!plan.format.isCopied || plan.writesCog)
        plan.pixelOptions = plan.writesCog ? tiffOptions : plan.options;
    if (plan.writesTiff) PlanTiff(request, scene, plan);
    return plan;
}

} // namespace rasterhost
