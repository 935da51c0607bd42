#include "rasterhost/OutputFile.h"

#include "fundament/Text.h"
#include "rasterhost/GdalErrors.h"

#include <cpl_conv.h>
#include <cpl_multiproc.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <filesystem>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

/// Of a file that GDAL can see, which need not lie in the file system.
struct FileState {
    bool exists = false;
    bool isFolder = false;
    bool isFile = false; ///< a regular one
};

FileState LookAt(const std::string& name) {
    VSIStatBufL state;
    if (VSIStatExL(name.c_str(), &state, VSI_STAT_EXISTS_FLAG | VSI_STAT_NATURE_FLAG) != 0) return {};
    return {true, VSI_ISDIR(state.st_mode) != 0, VSI_ISREG(state.st_mode) != 0};
}

bool IsSameFile(const std::string& a, const std::string& b) {
    std::error_code failure;
    return a == b || std::filesystem::equivalent(a, b, failure);
}

GDALDriver* FindDriver(const std::string& format) {
    return GetGDALDriverManager()->GetDriverByName(format.c_str());
}

/// "folder/.scene.pansharp-123.tmp.tif" for "folder/scene.tif": hidden, and with the ending that some drivers
/// go by.
std::string WorkName(const std::string& finalName) {
    const std::filesystem::path path(finalName);
    const std::string name =
        FormatString(".%s.pansharp-%d.tmp%s", path.stem().c_str(), static_cast<int>(CPLGetCurrentProcessID()),
                     path.extension().c_str());
    return (path.parent_path() / name).string();
}

GDALColorInterp ColourOf(const Scene& scene, std::size_t band) {
    const GDALColorInterp colour = scene.multispectral->GetBands()[band].band->GetColorInterpretation();
    return colour == GCI_AlphaBand ? GCI_Undefined : colour; // a fused band is no transparency
}

/// The request's own options, and for GeoTIFF what they leave open.
CPLStringList CreationOptions(const SharpenRequest& request, const Scene& scene, int threads) {
    CPLStringList options;
    for (const std::string& option : request.creationOptions)
        options.AddString(option.c_str());
    if (!EQUAL(request.format.c_str(), "GTiff")) return options;
    const auto suggest = [&](const char* name, const char* value) {
        if (!options.FetchNameValue(name)) options.SetNameValue(name, value);
    };
    suggest("TILED", "YES");
    if (options.FetchBool("TILED", false)) {
        // Windows are whole rows of tiles: very wide scenes get lower ones.
        const auto& pan = scene.pan->GetInfo();
        int height = 256;
        while (height > 64 && std::uint64_t{pan.cols} * scene.outputBands * (pan.bitsPerBand / 8) *
                                      static_cast<unsigned>(height) >
                                  (std::uint64_t{96} << 20))
            height /= 2;
        suggest("BLOCKXSIZE", "256");
        suggest("BLOCKYSIZE", FormatString("%d", height).c_str());
    }
    suggest("INTERLEAVE", "PIXEL");
    suggest("BIGTIFF", "IF_SAFER");
    const bool isRgb = scene.outputBands >= 3 && ColourOf(scene, 0) == GCI_RedBand &&
                       ColourOf(scene, 1) == GCI_GreenBand && ColourOf(scene, 2) == GCI_BlueBand;
    suggest("PHOTOMETRIC", isRgb ? "RGB" : "MINISBLACK");
    suggest("ALPHA", "NO"); // else a fourth band would be one
    // Every tile is written; until then none is made, so that it is not written twice.
    if (!options.FetchNameValue("COMPRESS")) suggest("SPARSE_OK", "YES");
    if (options.FetchNameValue("COMPRESS")) suggest("NUM_THREADS", FormatString("%d", threads).c_str());
    return options;
}

} // namespace

bool CheckOutput(const SharpenRequest& request, const Scene& scene, Status& status) {
    const auto refuse = [&](const std::string& message) {
        return Fail(status, HostStatus::OutputRefused, message);
    };
    const std::string& name = request.output;
    if (name.empty()) return refuse("no output file was named");
    GDALDriver* driver = FindDriver(request.format);
    if (!driver)
        return refuse(
            FormatString("there is no format '%s'; gdalinfo --formats lists them", request.format.c_str()));
    if (!driver->GetMetadataItem(GDAL_DCAP_CREATE))
        return refuse(
            FormatString("files of the format '%s' cannot be written window by window; write a GTiff "
                         "and convert it with gdal_translate -of %s",
                         request.format.c_str(), request.format.c_str()));
    for (const InputImage* image : {scene.pan.get(), scene.multispectral.get(), scene.infrared.get()})
        for (const std::string& input : image ? image->GetFiles() : std::vector<std::string>())
            if (IsSameFile(name, input))
                return refuse(
                    FormatString("the output '%s' is one of the inputs; choose another name", name.c_str()));
    const FileState state = LookAt(name);
    if (state.isFolder)
        return refuse(FormatString("the output '%s' is a folder; name a file in it", name.c_str()));
    if (state.exists && !state.isFile)
        return refuse(
            FormatString("the output '%s' is a device, and not a file that could be replaced; choose "
                         "another name",
                         name.c_str()));
    if (state.exists && !request.overwrite)
        return refuse(
            FormatString("the output '%s' exists; choose another name, or allow it to be overwritten "
                         "(--overwrite)",
                         name.c_str()));
    const std::string folder = std::filesystem::path(name).parent_path().string();
    if (!folder.empty() && !StartsWith(name, "/vsi", false) && !LookAt(folder).isFolder)
        return refuse(
            FormatString("the folder '%s' of the output does not exist; make it first", folder.c_str()));
    return true;
}

OutputFile::OutputFile(const SharpenRequest& request, const Scene& scene)
    : finalName(request.output), workName(WorkName(request.output)), format(request.format),
      columns(scene.pan->GetInfo().cols), bands(scene.outputBands),
      sampleBytes(scene.pan->GetInfo().bitsPerBand / 8) {}

std::unique_ptr<OutputFile> OutputFile::Create(const SharpenRequest& request, const Scene& scene, int threads,
                                               const Metadata& metadata, Status& status) {
    std::unique_ptr<OutputFile> output(new OutputFile(request, scene));
    const GdalErrors errors;
    const CPLStringList options = CreationOptions(request, scene, threads);
    output->dataset =
        FindDriver(request.format)
            ->Create(output->workName.c_str(), static_cast<int>(output->columns),
                     static_cast<int>(scene.pan->GetInfo().rows), static_cast<int>(output->bands),
                     output->sampleBytes == 1 ? GDT_Byte : GDT_UInt16, const_cast<char**>(options.List()));
    if (!output->dataset) {
        Fail(status, HostStatus::OutputNotCreated,
             FormatString("the output '%s' cannot be created%s", request.output.c_str(),
                          errors.Reason().c_str()));
        return nullptr;
    }
    int width = 0, height = 0;
    output->dataset->GetRasterBand(1)->GetBlockSize(&width, &height);
    output->blockRows = static_cast<std::uint32_t>(height);
    output->Describe(scene, metadata);
    if (output->TakeTiles(request)) return output;
    Fail(status, HostStatus::OutputNotCreated,
         FormatString("the output '%s' cannot be opened again%s", request.output.c_str(),
                      errors.Reason().c_str()));
    return nullptr;
}

bool OutputFile::TakeTiles(const SharpenRequest& request) {
    const bool isPlainFile = EQUAL(format.c_str(), "GTiff") && !StartsWith(workName, "/vsi", false);
    if (!isPlainFile || request.windowRows % blockRows != 0) return true;
    GDALClose(dataset);
    dataset = nullptr;
    tiles = TileWriter::Open(workName);
    if (!tiles) dataset = GDALDataset::Open(workName.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE);
    return tiles || dataset;
}

void OutputFile::Describe(const Scene& scene, const Metadata& metadata) {
    if (auto transform = scene.pan->GetGeoTransform()) dataset->SetGeoTransform(transform->data());
    const OGRSpatialReference& own = scene.pan->GetProjection();
    const OGRSpatialReference& projection = own.IsEmpty() ? scene.multispectral->GetProjection() : own;
    if (!projection.IsEmpty()) dataset->SetSpatialRef(&projection);
    if (const char* kind = scene.pan->GetBands().front().dataset->GetMetadataItem(GDALMD_AREA_OR_POINT))
        dataset->SetMetadataItem(GDALMD_AREA_OR_POINT, kind);
    for (const auto& [name, value] : metadata)
        dataset->SetMetadataItem(name.c_str(), value.c_str());
    for (std::uint32_t band = 0; band < bands; ++band) {
        GDALRasterBand& target = *dataset->GetRasterBand(static_cast<int>(band) + 1);
        const std::string& description = scene.multispectral->GetBands()[band].description;
        if (!description.empty()) target.SetDescription(description.c_str());
        target.SetColorInterpretation(ColourOf(scene, band));
    }
}

OutputFile::~OutputFile() {
    if (isDone) return;
    const GdalErrors errors;
    CloseAll();
    if (LookAt(workName).exists && GDALDriver::QuietDelete(workName.c_str()) != CE_None)
        VSIUnlink(workName.c_str());
}

bool OutputFile::WritePixels(std::uint32_t firstRow, std::uint32_t rows, unsigned char* samples) {
    if (tiles) return tiles->Write(firstRow, rows, samples);
    const GSpacing pixelBytes = GSpacing{bands} * sampleBytes;
    return dataset->RasterIO(GF_Write, 0, static_cast<int>(firstRow), static_cast<int>(columns),
                             static_cast<int>(rows), samples, static_cast<int>(columns),
                             static_cast<int>(rows), sampleBytes == 1 ? GDT_Byte : GDT_UInt16,
                             static_cast<int>(bands), nullptr, pixelBytes, pixelBytes * columns, sampleBytes,
                             nullptr) == CE_None;
}

bool OutputFile::Write(std::uint32_t firstRow, std::uint32_t rows, unsigned char* samples, Status& status) {
    const GdalErrors errors;
    if (WritePixels(firstRow, rows, samples) && !errors.HasFailed()) return true;
    return Fail(status, HostStatus::OutputNotWritten,
                FormatString("rows %u to %u of the output '%s' cannot be written; is the disk full?%s",
                             firstRow, firstRow + rows, finalName.c_str(), errors.Reason().c_str()));
}

bool OutputFile::CloseAll() {
    const bool isWritten = !tiles || tiles->Close();
    tiles.reset();
    if (dataset) GDALClose(dataset);
    dataset = nullptr;
    return isWritten;
}

bool OutputFile::Finish(Status& status) {
    const GdalErrors errors;
    if (!CloseAll() || errors.HasFailed())
        return Fail(status, HostStatus::OutputNotWritten,
                    FormatString("the output '%s' cannot be completed; is the disk full?%s",
                                 finalName.c_str(), errors.Reason().c_str()));
    isDone = Rename(status);
    return isDone;
}

bool OutputFile::Rename(Status& status) {
    const GdalErrors errors;
    GDALDriver* driver = FindDriver(format);
    bool isOneFile = true;
    {
        GDALDatasetUniquePtr made(GDALDataset::Open(workName.c_str(), GDAL_OF_RASTER));
        if (made) {
            const CPLStringList list(made->GetFileList());
            isOneFile = list.Count() == 1;
        }
    }
    bool renamed = false;
    if (isOneFile) {
        renamed = VSIRename(workName.c_str(), finalName.c_str()) == 0;
        // What lay beside a file that was overwritten described that one.
        for (const char* ending : {".aux.xml", ".ovr", ".msk"})
            if (const std::string beside = finalName + ending; renamed && LookAt(beside).exists)
                VSIUnlink(beside.c_str());
    } else {
        if (LookAt(finalName).exists) GDALDriver::QuietDelete(finalName.c_str());
        renamed = driver->Rename(finalName.c_str(), workName.c_str()) == CE_None;
    }
    return renamed || Fail(status, HostStatus::OutputNotWritten,
                           FormatString("the finished output cannot be renamed to '%s'%s", finalName.c_str(),
                                        errors.Reason().c_str()));
}

} // namespace rasterhost
