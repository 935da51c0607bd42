#include "rasterhost/writing/OutputFile.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/CreationOptions.h"
#include "rasterhost/writing/OutputCheck.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

GDALDriver* FindDriver(const std::string& format) {
    return GetGDALDriverManager()->GetDriverByName(format.c_str());
}

/// The request's own options, and for GeoTIFF what they leave open.
CPLStringList CreationOptions(const SharpenRequest& request, const Scene& scene, const OutputRules& rules,
                              const std::string& format, int threads) {
    CPLStringList options;
    if (format == request.format) options = ToOptionList(request.creationOptions);
    if (!EQUAL(format.c_str(), "GTiff")) return options;
    const auto suggest = [&](const char* name, const char* value) {
        if (!options.FetchNameValue(name)) options.SetNameValue(name, value);
    };
    suggest("TILED", "YES");
    if (options.FetchBool("TILED", false)) {
        // Windows are whole rows of tiles: very wide scenes get lower ones.
        const auto& pan = scene.pan->GetInfo();
        int height = 256;
        while (height > 64 && std::uint64_t{scene.part.GetColumns()} * rules.GetFileBands() *
                                      (pan.bitsPerBand / 8) * static_cast<unsigned>(height) >
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
    suggest("ALPHA", "NO"); // else a fourth band would be one; the band's colour tells
    if (options.FetchNameValue("COMPRESS")) suggest("NUM_THREADS", FormatString("%d", threads).c_str());
    return options;
}

} // namespace

OutputFile::OutputFile(const SharpenRequest& request, const Scene& scene, const OutputRules& outputRules,
                       WorkFolder& workFolder)
    : folder(workFolder), overwrite(request.overwrite), format(request.format),
      writtenFormat(IsMadeByCopy(request.format) ? "GTiff" : request.format),
      copyOptions(request.creationOptions),
      writtenFile(IsCopied() ? workFolder.GetSpare("copied.tif") : workFolder.GetFile()), rules(outputRules),
      columns(scene.part.GetColumns()), sampleBytes(scene.pan->GetInfo().bitsPerBand / 8), mask(columns) {}

std::unique_ptr<OutputFile> OutputFile::Create(const SharpenRequest& request, const Scene& scene,
                                               const OutputRules& rules, WorkFolder& folder, int threads,
                                               const OutputMetadata& metadata, Status& status) {
    std::unique_ptr<OutputFile> output(new OutputFile(request, scene, rules, folder));
    const GdalErrors errors;
    CPLStringList options = CreationOptions(request, scene, rules, output->writtenFormat, threads);
    // A file that is opened again has forgotten what its options say of quality and threads.
    const bool writesTiles = EQUAL(output->writtenFormat.c_str(), "GTiff") &&
                             !StartsWith(output->writtenFile, "/vsi", false) && TileWriter::CanWrite(options);
    // Every tile is written; until then none is made, so that it is not written twice.
    if (writesTiles) options.SetNameValue("SPARSE_OK", "YES");
    output->dataset =
        FindDriver(output->writtenFormat)
            ->Create(output->writtenFile.c_str(), static_cast<int>(output->columns),
                     static_cast<int>(scene.part.GetRows()), static_cast<int>(rules.GetFileBands()),
                     output->sampleBytes == 1 ? GDT_Byte : GDT_UInt16, const_cast<char**>(options.List()));
    if (!output->dataset) {
        Fail(status, HostStatus::OutputNotCreated,
             "the output '%s' cannot be created; may its folder be written to?%s", request.output.c_str(),
             errors.Reason().c_str());
        return nullptr;
    }
    output->warning = errors.Warning();
    if (output->IsCopied()) output->copyOptions.push_back(FormatString("NUM_THREADS=%d", threads));
    int width = 0, height = 0;
    output->dataset->GetRasterBand(1)->GetBlockSize(&width, &height);
    output->blockRows = static_cast<std::uint32_t>(height);
    DescribeOutput(scene, rules, metadata, *output->dataset);
    if (!writesTiles || request.windowRows % output->blockRows != 0) return output;
    GDALClose(output->dataset);
    output->dataset = nullptr;
    output->tiles = TileWriter::Open(output->writtenFile, options);
    if (output->tiles) return output;
    Fail(status, HostStatus::OutputNotCreated, "the output '%s' cannot be opened again%s",
         request.output.c_str(), errors.Reason().c_str());
    return nullptr;
}

OutputFile::~OutputFile() {
    const GdalErrors errors;
    CloseAll();
}

OutputWindow OutputFile::MakeWindow(std::uint32_t mostRows) const {
    return {rules, tiles ? tiles->GetLayout() : OutputLayout(), sampleBytes * 8, columns, mostRows};
}

bool OutputFile::FailAt(const OutputWindow& window, const std::string& what, Status& status) const {
    return Fail(status, HostStatus::OutputNotWritten, "rows %u to %u of the output '%s' cannot be %s",
                window.GetFirstRow(), window.GetFirstRow() + window.GetRows(), folder.GetPlace().c_str(),
                what.c_str());
}

bool OutputFile::Pack(OutputWindow& window, Status& status) const {
    return !tiles || tiles->Pack(window.GetRows(), window.GetSamples(), window.GetPacked()) ||
           FailAt(window, "compressed; does memory run out?", status);
}

bool OutputFile::WritePixels(OutputWindow& window) {
    unsigned char* samples = window.GetSamples();
    if (tiles) return tiles->Write(window.GetFirstRow(), window.GetRows(), samples, window.GetPacked());
    const auto bands = static_cast<int>(rules.GetFileBands());
    const auto firstRow = static_cast<int>(window.GetFirstRow()), rows = static_cast<int>(window.GetRows());
    const auto across = static_cast<int>(columns);
    const GSpacing pixelBytes = GSpacing{bands} * sampleBytes;
    return dataset->RasterIO(GF_Write, 0, firstRow, across, rows, samples, across, rows,
                             sampleBytes == 1 ? GDT_Byte : GDT_UInt16, bands, nullptr, pixelBytes,
                             pixelBytes * columns, sampleBytes, nullptr) == CE_None;
}

bool OutputFile::Write(OutputWindow& window, const unsigned char* valid, Status& status) {
    mask.AddRows(valid, window.GetRows());
    const GdalErrors errors;
    if (WritePixels(window) && !errors.HasFailed()) return true;
    return FailAt(window, "written; is the disk full?" + errors.Reason(), status);
}

bool OutputFile::CloseAll() {
    const bool isWritten = !tiles || tiles->Close();
    tiles.reset();
    if (dataset) GDALClose(dataset);
    dataset = nullptr;
    return isWritten;
}

bool OutputFile::FailToComplete(const std::string& reason, Status& status) const {
    return Fail(status, HostStatus::OutputNotWritten,
                "the output '%s' cannot be completed; is the disk full?%s", folder.GetPlace().c_str(),
                reason.c_str());
}

bool OutputFile::AddMask(Status& status) {
    if (GetPixelsWithoutData() == 0 || rules.noData || rules.hasAlpha) return true;
    const GdalErrors errors;
    const CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", "YES", false);
    GDALDatasetUniquePtr made(GDALDataset::Open(writtenFile.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
    const bool isMade = made && made->CreateMaskBand(GMF_PER_DATASET) == CE_None &&
                        mask.Write(*made->GetRasterBand(1)->GetMaskBand());
    made.reset();
    return (isMade && !errors.HasFailed()) || FailToComplete(errors.Reason(), status);
}

bool OutputFile::Copy(const std::function<bool(double)>& progress, Status& status) {
    CPLStringList options = ToOptionList(copyOptions);
    const auto report = [](double done, const char*, void* to) -> int {
        const auto& callback = *static_cast<const std::function<bool(double)>*>(to);
        return callback && !callback(done) ? FALSE : TRUE;
    };
    const GdalErrors errors;
    GDALDatasetUniquePtr made(GDALDataset::Open(writtenFile.c_str(), GDAL_OF_RASTER));
    GDALDatasetUniquePtr copied(
        made ? FindDriver(format)->CreateCopy(folder.GetFile().c_str(), made.get(), FALSE, options.List(),
                                              report, const_cast<std::function<bool(double)>*>(&progress))
             : nullptr);
    const bool isCopied = copied != nullptr;
    copied.reset();
    return (isCopied && !errors.HasFailed()) || FailToComplete(errors.Reason(), status);
}

bool OutputFile::Finish(const std::function<bool(double)>& progress, Status& status) {
    {
        const GdalErrors errors;
        if (!CloseAll() || errors.HasFailed()) return FailToComplete(errors.Reason(), status);
    }
    if (!AddMask(status)) return false;
    return (!IsCopied() || Copy(progress, status)) && folder.Deliver(overwrite, status);
}

} // namespace rasterhost
