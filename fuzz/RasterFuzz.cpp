// The host on damaged rasters: pan, multispectral or both are files of arbitrary bytes, GeoTIFF or virtual
// rasters. The first two bytes select these and how they are fused; the length selects "info", "sharpen" or
// both.
#include "GeoTiffTables.h"
#include "Input.h"

#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/assessing/Preflight.h"
#include "rasterhost/fusing/Sharpen.h"
#include "support/RasterFiles.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <cpl_vsi.h>

#include <set>

using fuzz::Require;
using KOVA::Tessara::Fundament::Status;

namespace {

constexpr const char* folder = "/vsimem/fuzz/";

std::string Name(const std::string& file) { return folder + file; }

/// A valid partner for the damaged file; pan has pixels of half the size.
void WriteGood(const char* file, int columns, int bands, GDALDataType type) {
    testfiles::WriteRaster(
        Name(file),
        {columns, columns * 5 / 6, bands, type, testfiles::Grid(240.0 / columns, 1000.0, 2000.0), {}},
        [](int column, int row, int band) { return (column * 37 + row * 5 + band * 11) % 251 + 1; });
}

/// Removes all other drivers, so that only these try to open a file.
void KeepDrivers(const std::set<std::string>& kept) {
    GDALDriverManager& drivers = *GetGDALDriverManager();
    for (int at = drivers.GetDriverCount() - 1; at >= 0; --at)
        if (GDALDriver* driver = drivers.GetDriver(at); !kept.contains(driver->GetDescription())) {
            drivers.DeregisterDriver(driver);
            GDALDestroyDriver(driver);
        }
}

/// Creates the valid files. Returns the methods of the plug-in, and an empty one for the recommended method.
const std::vector<std::string>& Prepare() {
    static const auto methods = [] {
        CPLSetConfigOption("GDAL_DISABLE_READDIR_ON_OPEN", "EMPTY_DIR");
        CPLSetConfigOption("GDAL_CACHEMAX", "64");
        CPLSetConfigOption("GDAL_VALIDATE_CREATION_OPTIONS", "NO"); // they are the same every time
        WriteGood("pan8.tif", 24, 1, GDT_Byte);
        WriteGood("pan16.tif", 24, 1, GDT_UInt16);
        WriteGood("ms8.tif", 12, 4, GDT_Byte);
        WriteGood("ms16.tif", 12, 4, GDT_UInt16);
        KeepDrivers({"GTiff", "VRT", "MEM"});
        Status status;
        static const auto plugin = hostkit::PluginLibrary::Load(PANSHARP_PLUGIN_FILE, status);
        Require(plugin != nullptr, "the plug-in is there");
        std::vector<std::string> all = {""};
        for (const PansharpMethod& method : hostkit::MethodsOf(plugin->GetDescription()))
            all.emplace_back(method.keyword);
        return all;
    }();
    return methods;
}

/// A virtual raster may refer to any file or server: only files in this folder are allowed.
bool StaysHere(const std::string& text) {
    for (std::size_t at = text.find('/'); at != std::string::npos; at = text.find('/', at + 1))
        if ((at == 0 || text[at - 1] != '<') && text[at + 1] != '>') return false;
    return text.find("..") == std::string::npos;
}

/// The damaged bytes as a file while this lives.
class Damaged {
public:
    Damaged(const char* file, std::string bytes) : name(Name(file)), content(std::move(bytes)) {
        VSIFCloseL(VSIFileFromMemBuffer(name.c_str(), reinterpret_cast<GByte*>(content.data()),
                                        content.size(), FALSE));
    }
    Damaged(const Damaged&) = delete;
    Damaged& operator=(const Damaged&) = delete;
    ~Damaged() { VSIUnlink(name.c_str()); }

    const std::string name;

private:
    std::string content;
};

rasterhost::SharpenRequest MakeRequest(unsigned how, unsigned which, const std::string& damaged) {
    rasterhost::SharpenRequest request;
    const bool is16 = (which & 4u) != 0;
    request.pan.file = (which & 1u) != 0 ? damaged : Name(is16 ? "pan16.tif" : "pan8.tif");
    request.multispectral = {{(which & 2u) != 0 ? damaged : Name(is16 ? "ms16.tif" : "ms8.tif"), {}}};
    if ((which & 3u) == 0) request.infrared = rasterhost::InputBand{damaged, {}};
    if ((which & 3u) == 3) request.pan.band = 1;
    if ((which & 8u) != 0) request.bands = {1};
    request.sameCorner = (which & 16u) != 0;
    request.measureShift = (which & 32u) != 0;
    request.onlyIntersection = (which & 64u) != 0;
    request.resampling = (how & 4u) != 0 ? hostkit::Resampling::Cubic : hostkit::Resampling::Bilinear;
    if ((how & 8u) != 0) request.scale = std::array{-3.0, 500.0};
    request.alpha = (how & 16u) != 0;
    request.ignoreNoData = (how & 32u) != 0;
    if ((how & 64u) != 0) request.noData = 7.0;
    if ((how & 128u) != 0) request.weightSource = rasterhost::WeightSource::Equal;
    request.output = Name("out.tif");
    request.creationOptions = {"TILED=NO"}; // tiles of 256 x 256 pixels would take most of the time
    request.plugin = PANSHARP_PLUGIN_FILE;
    request.threads = 1;
    request.mostMemory = std::uint64_t{1} << 30;
    return request;
}

void CheckFailure(const Status& status) {
    Require(status.GetCount() > 0 && !status.GetItem(0).message.empty(), "a failure says why");
    Require(status.GetItem(0).id != 0xB10B, "a failure is foreseen");
    VSIStatBufL state;
    Require(VSIStatL(Name("out.tif").c_str(), &state) != 0, "a failure leaves no output");
}

void CheckOutput(const rasterhost::SharpenReport& report) {
    {
        GDALDatasetUniquePtr made(GDALDataset::Open(Name("out.tif").c_str()));
        Require(made && static_cast<std::uint32_t>(made->GetRasterXSize()) == report.columns &&
                    static_cast<std::uint32_t>(made->GetRasterYSize()) == report.rows &&
                    static_cast<std::uint32_t>(made->GetRasterCount()) >= report.bands,
                "the output is what the report says");
    }
    VSIUnlink(Name("out.tif").c_str());
}

/// A declared size may take days, so a file is cancelled after a few steps. A file of many bands takes as
/// long as hundreds of others and is skipped, unless it is a virtual raster, which lists its bands one by
/// one.
int CountSteps(const std::string& file, bool isVirtual) {
    constexpr double many = 1e5;
    constexpr int manyBands = 64;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    GDALDatasetUniquePtr opened(GDALDataset::Open(file.c_str(), GDAL_OF_RASTER));
    CPLPopErrorHandler();
    if (!opened) return 100;
    const int bands = opened->GetRasterCount();
    if (bands > manyBands && !isVirtual) return 0;
    return static_cast<double>(opened->GetRasterXSize()) * opened->GetRasterYSize() * bands > many ? 2 : 100;
}

void Run(rasterhost::SharpenRequest request, int mostSteps, bool informs, bool fuses) {
    int steps = 0;
    bool wasCancelled = false;
    request.progress = [&](double) { return !(wasCancelled = ++steps >= mostSteps); };
    bool fits = true;
    if (informs) {
        rasterhost::PreflightReport facts;
        Status reasons;
        fits = rasterhost::Preflight(request, facts, reasons);
        if (!fits) CheckFailure(reasons);
    }
    if (wasCancelled || !fuses) return;
    rasterhost::SharpenReport report;
    Status status;
    const bool isDone = rasterhost::Sharpen(request, report, status);
    Require(fits || wasCancelled || !isDone, "what cannot be fused is told beforehand");
    if (isDone)
        CheckOutput(report);
    else
        CheckFailure(status);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto& methods = Prepare();
    fuzz::Input input(data, size);
    const auto how = input.Take<std::uint8_t>();
    const auto which = input.Take<std::uint8_t>();
    std::string bytes = input.Rest();
    const bool isVirtual = bytes.starts_with("<");
    // With any other beginning, another driver would open it.
    constexpr std::string_view virtualStart = "<VRTDataset", classic = std::string_view("II*\0", 4);
    if (isVirtual ? !bytes.starts_with(virtualStart) || !StaysHere(bytes) : bytes.size() < 8) return 0;
    if (!isVirtual && !bytes.starts_with("II") && !bytes.starts_with("MM")) bytes.replace(0, 4, classic);
    const Damaged damaged(isVirtual ? "damaged.vrt" : "damaged.tif", std::move(bytes));
    auto request = MakeRequest(how, which, damaged.name);
    request.method = methods[how % methods.size()];
    const int steps = CountSteps(damaged.name, isVirtual);
    if (steps > 0) Run(std::move(request), steps, size % 2 == 0, size % 8 == 0 || size % 2 == 1);
    char** left = VSIReadDir("/vsimem/fuzz");
    Require(CSLCount(left) == 5, "no file is left behind");
    CSLDestroy(left);
    return 0;
}
