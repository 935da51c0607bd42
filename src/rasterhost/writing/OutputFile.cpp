#include "rasterhost/writing/OutputFile.h"

#include "fundament/Text.h"
#include "rasterhost/requests/CacheLimit.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/writing/CogWriter.h"
#include "rasterhost/writing/MaskWriter.h"
#include "rasterhost/writing/Picture.h"
#include "rasterhost/writing/TileWriter.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

GDALDriver* FindDriver(const std::string& format) {
    return GetGDALDriverManager()->GetDriverByName(format.c_str());
}

} // namespace

OutputFile::OutputFile(const SharpenRequest& request, const OutputPlan& outputPlan, WorkFolder& workFolder)
    : folder(workFolder), overwrite(request.overwrite), plan(outputPlan),
      writtenFile(plan.IsCopied() ? workFolder.GetSpare("copied.tif") : workFolder.GetFile()),
      mask(plan.columns) {}

std::unique_ptr<OutputFile> OutputFile::Create(const SharpenRequest& request, const Scene& scene,
                                               const OutputPlan& plan, WorkFolder& folder,
                                               const OutputMetadata& metadata, Status& status) {
    std::unique_ptr<OutputFile> output(new OutputFile(request, plan, folder));
    const GdalErrors errors;
    CPLStringList options = plan.pixelOptions;
    const bool writesTiles = plan.layout.tileColumns > 0;
    // GDAL creates no tile yet: every tile is written later, and so only once.
    if (writesTiles) options.SetNameValue("SPARSE_OK", "YES");
    output->dataset = FindDriver(plan.writesTiff ? "GTiff" : plan.format.name)
                          ->Create(output->writtenFile.c_str(), static_cast<int>(plan.columns),
                                   static_cast<int>(plan.rows), static_cast<int>(plan.rules.GetFileBands()),
                                   plan.bits == 8 ? GDT_Byte : GDT_UInt16, options.List());
    if (!output->dataset) {
        Fail(status, HostStatus::OutputNotCreated,
             "the output '%s' cannot be created; is its folder writable?%s", request.output.c_str(),
             errors.Reason().c_str());
        return nullptr;
    }
    output->warning = errors.Warning();
    DescribeOutput(scene, scene.part, plan.rules, metadata, *output->dataset);
    if (!writesTiles) return output;
    GDALClose(output->dataset);
    output->dataset = nullptr;
    if (output->OpenTiles(options)) return output;
    Fail(status, HostStatus::OutputNotCreated, "the output '%s' cannot be opened again%s",
         request.output.c_str(), errors.Reason().c_str());
    return nullptr;
}

bool OutputFile::OpenTiles(const CPLStringList& options) {
    if (!plan.writesCog) {
        tiles = TileWriter::Open(writtenFile, plan.layout, options);
        return tiles != nullptr;
    }
    auto writer = CogWriter::Open(writtenFile, folder.GetSpare("tiles"), plan);
    cog = writer.get();
    tiles = std::move(writer);
    return cog != nullptr;
}

OutputFile::~OutputFile() {
    const GdalErrors errors;
    CloseAll();
    if (plan.IsCopied()) VSIUnlink(writtenFile.c_str()); // in GDAL's memory nobody else removes it
}

OutputWindow OutputFile::MakeWindow(std::uint32_t mostRows) const {
    return {plan.rules, plan.layout, plan.bits, plan.columns, mostRows};
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
    if (tiles)
        return tiles->Write(window.GetFirstRow(), window.GetRows(), samples, window.GetMask(),
                            window.GetPacked());
    const auto bands = static_cast<int>(plan.rules.GetFileBands());
    const auto firstRow = static_cast<int>(window.GetFirstRow()), rows = static_cast<int>(window.GetRows());
    const auto across = static_cast<int>(plan.columns);
    const auto pixelBytes = static_cast<GSpacing>(plan.GetPixelBytes());
    return dataset->RasterIO(GF_Write, 0, firstRow, across, rows, samples, across, rows,
                             plan.bits == 8 ? GDT_Byte : GDT_UInt16, bands, nullptr, pixelBytes,
                             pixelBytes * across, pixelBytes / bands, nullptr) == CE_None;
}

bool OutputFile::Write(OutputWindow& window, Status& status) {
    pixelsWithoutData += window.GetMask().GetPixelsWithoutData();
    if (NeedsMask()) mask.AddRows(window.GetMask());
    const GdalErrors errors;
    if (WritePixels(window) && !errors.HasFailed()) return true;
    return FailAt(window, "written; is the disk full?" + errors.Reason(), status);
}

bool OutputFile::CloseAll() {
    const bool isWritten = !tiles || tiles->Close();
    tiles.reset();
    cog = nullptr;
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
    if (!HasMask()) return true;
    const GdalErrors errors;
    const CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", "YES", false);
    GDALDatasetUniquePtr made(GDALDataset::Open(writtenFile.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
    bool isMade = made && made->CreateMaskBand(GMF_PER_DATASET) == CE_None;
    // Tiles were written here too, so libtiff can open the file.
    if (isMade && plan.layout.tileColumns > 0) {
        made.reset();
        if (const auto writer = MaskWriter::Open(writtenFile))
            return (writer->Write(mask) && !errors.HasFailed()) || FailToComplete(errors.Reason(), status);
        made.reset(GDALDataset::Open(writtenFile.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
        isMade = made != nullptr;
    }
    isMade = isMade && mask.Write(*made->GetRasterBand(1)->GetMaskBand());
    made.reset();
    return (isMade && !errors.HasFailed()) || FailToComplete(errors.Reason(), status);
}

bool OutputFile::Copy(const std::function<bool(double)>& progress, Status& status) {
    CPLStringList options = plan.options;
    options.AddString(FormatString("NUM_THREADS=%d", plan.threads).c_str());
    const auto report = [](double done, const char*, void* to) -> int {
        return (*static_cast<const std::function<bool(double)>*>(to))(done) ? TRUE : FALSE;
    };
    const double share = plan.isPicture ? 0.5 : 0.0; // of the work: finding the stretch
    const std::function<bool(double)> stretched = [&](double done) {
        return !progress || progress(share * done);
    };
    std::function<bool(double)> written = [&](double done) {
        return !progress || progress(share + (1.0 - share) * done);
    };
    const GdalErrors errors;
    const CPLConfigOptionSetter inside("GDAL_TIFF_INTERNAL_MASK", "YES", false);
    // Copying reads line by line and band by band; with this cache every block is decoded once.
    const CacheLimit cache(static_cast<std::int64_t>(std::uint64_t{2} * plan.blockRows * plan.columns *
                                                     (plan.GetPixelBytes() + 1)));
    GDALDatasetUniquePtr made(GDALDataset::Open(writtenFile.c_str(), GDAL_OF_RASTER));
    GDALDatasetUniquePtr picture(made && plan.isPicture ? MakePicture(*made, stretches, stretched) : nullptr);
    GDALDataset* source = plan.isPicture ? picture.get() : made.get();
    GDALDatasetUniquePtr copied(
        source ? FindDriver(plan.format.name)
                     ->CreateCopy(folder.GetFile().c_str(), source, FALSE, options.List(), report, &written)
               : nullptr);
    const bool isCopied = copied != nullptr;
    // Metadata added to a COG would break its layout. For a file opened read-only, GDAL writes it to a
    // separate file.
    if (isCopied && EQUAL(plan.format.name.c_str(), "COG")) {
        copied.reset();
        copied.reset(GDALDataset::Open(folder.GetFile().c_str(), GDAL_OF_RASTER));
    }
    if (copied) CarryImagery(*made, *copied);
    copied.reset();
    return (isCopied && !errors.HasFailed()) || FailToComplete(errors.Reason(), status);
}

bool OutputFile::FinishCog(const std::function<bool(double)>& progress, Status& status) {
    const GdalErrors errors;
    const bool isWritten = cog->Finish(HasMask() ? &mask : nullptr, progress);
    CloseAll();
    return (isWritten && !errors.HasFailed()) || FailToComplete(errors.Reason(), status);
}

bool OutputFile::Finish(const std::function<bool(double)>& progress, Status& status) {
    if (cog) return FinishCog(progress, status) && folder.Deliver(overwrite, status);
    {
        const GdalErrors errors;
        if (!CloseAll() || errors.HasFailed()) return FailToComplete(errors.Reason(), status);
    }
    if (!AddMask(status)) return false;
    return (!plan.IsCopied() || Copy(progress, status)) && folder.Deliver(overwrite, status);
}

} // namespace rasterhost
