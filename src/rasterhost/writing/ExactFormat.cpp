#include "rasterhost/writing/ExactFormat.h"

#include "fundament/Text.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StringsEqual;

namespace {

/// Options by which a request sets the quality itself.
const char* const questions[] = {"QUALITY",     "JPEG_QUALITY", "WEBP_LEVEL",   "REVERSIBLE", "LOSSLESS",
                                 "YCBCR420",    "TARGETSIZE",   "PSNR",         "NBITS",      "MAX_Z_ERROR",
                                 "DISCARD_LSB", "JXL_DISTANCE", "JXL_LOSSLESS", "RATE"};

/// The options that ask for a loss, as typed.
std::string LossAskedFor(const OutputPlan& plan) {
    std::string asked;
    for (int i = 0; i < plan.options.size(); ++i) {
        const std::string option = plan.options[i];
        const auto isNamed = [&](const char* name) {
            return StringsEqual(option.substr(0, option.find('=')), name, true);
        };
        const auto& exact = plan.format.exactOptions;
        if (std::any_of(std::begin(questions), std::end(questions), isNamed) &&
            std::find(exact.begin(), exact.end(), option) == exact.end())
            asked += (asked.empty() ? "" : " ") + option;
    }
    return asked;
}

constexpr int trialSide = 64; ///< side of the trial image

bool MoveSamples(GDALDataset& dataset, GDALRWFlag direction, int bands,
                 std::vector<unsigned short>& samples) {
    return dataset.GetRasterCount() >= bands &&
           dataset.RasterIO(direction, 0, 0, trialSide, trialSide, samples.data(), trialSide, trialSide,
                            GDT_UInt16, bands, nullptr, 0, 0, 0, nullptr) == CE_None;
}

/// Writes an image as the format requires: by creating or by copying.
bool WriteTrial(GDALDriver& driver, const std::string& name, const CPLStringList& options, int bands,
                GDALDataType type, std::vector<unsigned short>& samples) {
    const bool isCopied = driver.GetMetadataItem(GDAL_DCAP_CREATE) == nullptr;
    GDALDriver& maker = isCopied ? *GetGDALDriverManager()->GetDriverByName("MEM") : driver;
    GDALDatasetUniquePtr made(maker.Create(isCopied ? "" : name.c_str(), trialSide, trialSide, bands, type,
                                           isCopied ? nullptr : const_cast<char**>(options.List())));
    if (!made) return false;
    double place[] = {0.0, 1.0, 0.0, trialSide, 0.0, -1.0}; // GPKG writes nothing without one
    made->SetGeoTransform(place);
    if (!MoveSamples(*made, GF_Write, bands, samples)) return false;
    const GDALDatasetUniquePtr copy(
        isCopied ? driver.CreateCopy(name.c_str(), made.get(), FALSE, options.List(), nullptr, nullptr)
                 : nullptr);
    return !isCopied || copy;
}

} // namespace

std::string FindLoss(const OutputPlan& plan, const std::string& output) {
    if (plan.format.isTiff && plan.options.size() == 0) return {}; // a plain GeoTIFF stores what it is given
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(plan.format.name.c_str());
    if (!driver || !driver->GetMetadataItem(GDAL_DCAP_VIRTUALIO)) return {};
    const auto bands = static_cast<int>(plan.rules.GetFileBands());
    std::vector<unsigned short> samples(std::size_t{trialSide} * trialSide * plan.rules.GetFileBands());
    std::minstd_rand random; // noise is the hardest to preserve
    for (unsigned short& sample : samples)
        sample = static_cast<unsigned short>(random() % (plan.rules.largest + 1));
    std::vector<unsigned short> back(samples.size());
    const GdalErrors silence;
    const std::string folder = FormatString("/vsimem/pansharp-trial-%p", static_cast<const void*>(&plan));
    const std::string name = folder + "/trial" + std::filesystem::path(output).extension().string();
    bool isRead = false;
    if (WriteTrial(*driver, name, plan.options, bands, plan.bits == 8 ? GDT_Byte : GDT_UInt16, samples)) {
        const GDALDatasetUniquePtr written(GDALDataset::Open(name.c_str(), GDAL_OF_RASTER));
        // Transparency may come back as another band, or as a mask.
        const auto fused = static_cast<int>(plan.rules.bands);
        isRead = written && MoveSamples(*written, GF_Read, fused, back);
        samples.resize(std::size_t{trialSide} * trialSide * plan.rules.bands);
        back.resize(samples.size());
    }
    VSIRmdirRecursive(folder.c_str());
    if (!isRead || back == samples) return {};
    int most = 0;
    for (std::size_t i = 0; i < samples.size(); ++i)
        most = std::max(most, std::abs(int{samples[i]} - int{back[i]}));
    if (const std::string asked = LossAskedFor(plan); !asked.empty())
        return FormatString("has the quality that %s asks for: samples may be off by %d", asked.c_str(),
                            most);
    return FormatString("is not exact: with the format %s and these creation options samples may be off by "
                        "%d; GTiff keeps them unchanged",
                        plan.format.name.c_str(), most);
}

} // namespace rasterhost
