// The images behind a window: how PansharpRaster builds them on the rasters of its chains and reads their
// rows.

#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "operators/CreateBlendPixels.h"
#include "operators/CreateImageViaBinaryRowOperator.h"
#include "pansharp/CreatePanSharpImage.h"
#include "plugin/PansharpRaster.h"
#include "plugin/ProcessStatus.h"

#include <limits>

namespace KOVA::Tessara::Pixmere {

using Fundament::FormatString;
using Fundament::PropertyLookUp;

namespace {

void ExportPropertiesToMap(const PropertyLookUp& lookup, Global::NameValueMap& map, bool skipEmpty,
                           const std::string& prefix, const std::string& suffix) {
    for (std::uint32_t i = 0; i < lookup.GetCount(); ++i) {
        const auto [name, value] = lookup.GetAt(i);
        if (!skipEmpty || !value.empty()) map[prefix + name + suffix] = value;
    }
}

std::string BoundsText(const Extent& extent) {
    return FormatString("%lf, %lf, %lf, %lf", extent.left, extent.right, extent.vertical1, extent.vertical2);
}

} // namespace

template <class T>
void PansharpRaster::Pipeline<T>::Clear() {
    panSharpImage.reset();
    mergedImage.reset();
    mergeOperator.reset();
    msSource = nullptr;
    for (auto* image : {&msImage, &panImage, &irImage})
        image->Attach(nullptr, false);
}

template <>
PansharpRaster::Pipeline<unsigned char>& PansharpRaster::GetPipeline() {
    return pipeline8;
}

template <>
PansharpRaster::Pipeline<unsigned short>& PansharpRaster::GetPipeline() {
    return pipeline16;
}

template <class T>
int PansharpRaster::OpenPipeline(const Window& window) {
    if (!BuildPipeline<T>()) return 0;
    PXL::PanSharpImage<T>& image = *GetPipeline<T>().panSharpImage;
    if (image.SetWindow(window.col0, window.row0, window.col1, window.row1)) return 1;
    status.Append(image.status);
    return 0;
}

template <class T>
bool PansharpRaster::BuildPipeline() {
    // If the infrared chain fails, the multispectral one is left untouched.
    if (!additionalBandId.empty() && !OpenInfrared()) return false;
    if (!OpenMultispectral<T>()) return false;
    if (!additionalBandId.empty() && !MergeInfrared<T>()) return false;
    return CheckInputs<T>() && CreateFusion<T>();
}

bool PansharpRaster::InitializeChain(IRasterProcessChain& chain, const std::string& message) {
    if (chain.Initialize(&workAoi) != 0) return true;
    Fail(ProcessStatus::ChainNotInitialized, message, &chain.GetStatus());
    aoi->resultValue = workAoi.resultValue;
    return false;
}

template <class T>
bool PansharpRaster::OpenMultispectral() {
    constexpr bool is8Bit = std::numeric_limits<T>::digits == 8;
    const char* kind = is8Bit && additionalBandId.empty() ? "Raster" : "Image";
    if (!InitializeChain(
            *msChain, FormatString("Failed to Initialize Multispectral %s: '%s'", kind, msImageId.c_str())))
        return false;
    msRaster = msChain->CreateRaster();
    if (!msRaster)
        return Fail(ProcessStatus::NoMultispectralImage,
                    FormatString("Failed to create Multispectral %s: '%s'", kind, msImageId.c_str()),
                    &msChain->GetStatus());
    Pipeline<T>& pipeline = GetPipeline<T>();
    pipeline.panImage.Attach(panRaster, false);
    pipeline.msImage.Attach(msRaster, false);
    if (is8Bit && additionalBandId.empty() && generateMetadata) {
        metadata["PanExtents"] = BoundsText(aoi->requestExtent);
        metadata["MSExtents"] = BoundsText(workAoi.requestExtent);
    }
    pipeline.msSource = &pipeline.msImage;
    return true;
}

bool PansharpRaster::OpenInfrared() {
    if (!InitializeChain(*irChain,
                         FormatString("Failed to Initialize Infrared Image: '%s'", additionalBandId.c_str())))
        return false;
    irRaster = irChain->CreateRaster();
    return irRaster || Fail(ProcessStatus::NoInfraredRaster,
                            FormatString("Failed to create Infrared Image: '%s'", additionalBandId.c_str()),
                            &irChain->GetStatus());
}

template <class T>
bool PansharpRaster::MergeInfrared() {
    Pipeline<T>& pipeline = GetPipeline<T>();
    pipeline.irImage.Attach(irRaster, false);
    const PXL::ImageInfo msInfo = pipeline.msImage.GetInfo();
    const PXL::ImageInfo irInfo = pipeline.irImage.GetInfo();
    if (!CheckInfrared(msInfo.bitsPerSample, irInfo.bitsPerSample)) return false;
    // The merge reads whole rows of both rasters, so the infrared one must also be as large as the
    // multispectral one.
    if (!Covers(msRaster, "multispectral", workAoi.size) ||
        !Covers(irRaster, "infrared", {msInfo.cols, msInfo.rows}))
        return false;
    Fundament::Status reasons;
    pipeline.mergeOperator = PXL::CreateBlendPixels<T>("mergeBands", reasons);
    if (!pipeline.mergeOperator)
        return Fail(ProcessStatus::NoMergeOperator, "could not create PXL::BlendPixels object", &reasons);
    PXL::BlendPixels<T>& merge = *pipeline.mergeOperator;
    merge.properties.Merge(properties, false, {}, {});
    merge.EnableMetadata(generateMetadata);
    merge.UseSimdTarget(simdTarget);
    if (!merge.Init(msInfo, irInfo, false))
        return Fail(ProcessStatus::MergeOperatorFailed, "PXL::BlendPixels initialization failed",
                    &merge.status);
    pipeline.mergedImage = PXL::CreateImageViaBinaryRowOperator<T>({}, reasons);
    if (!pipeline.mergedImage)
        return Fail(
            ProcessStatus::NoMergedImage,
            FormatString("could not create PXL::ImageViaBinaryRowOperator object to merge multispectral "
                         "image '%s' and infra-red image '%s'",
                         msImageId.c_str(), additionalBandId.c_str()),
            &reasons);
    pipeline.mergedImage->EnableMetadata(generateMetadata);
    if (!pipeline.mergedImage->Init(&pipeline.msImage, &pipeline.irImage, &merge, true))
        return Fail(
            ProcessStatus::MergedImageFailed,
            FormatString("could not initialize BlendPixels object to merge multispectral image '%s' and "
                         "infra-red image '%s'",
                         msImageId.c_str(), additionalBandId.c_str()),
            &pipeline.mergedImage->status);
    pipeline.msSource = pipeline.mergedImage.get();
    // Without a window the merged image has no rows, and the fused row then fails with the reason.
    pipeline.mergedImage->SetWindow(0, 0, msInfo.cols, msInfo.rows);
    return true;
}

bool PansharpRaster::CheckInfrared(std::uint32_t msBits, std::uint32_t irBits) {
    return msBits == irBits ||
           Fail(ProcessStatus::DepthsDiffer,
                FormatString("multispectral and infra-red images are incompatible : images are of different "
                             "bit-depths (multispectral : %u bits; infrared : %u bits)",
                             msBits, irBits));
}

template <class T>
bool PansharpRaster::CheckInputs() {
    Pipeline<T>& pipeline = GetPipeline<T>();
    const std::uint32_t msBits = pipeline.msSource->GetInfo().bitsPerSample;
    const std::uint32_t panBits = pipeline.panImage.GetInfo().bitsPerSample;
    if (msBits != panBits)
        return Fail(
            ProcessStatus::DepthsDiffer,
            FormatString("multispectral and pan images are incompatible : images are of different bit-depths "
                         "(%u, %u respectively)",
                         msBits, panBits));
    return Covers(msRaster, "multispectral", workAoi.size);
}

bool PansharpRaster::Covers(IRaster* raster, const char* role, const Size& least) {
    const RasterInfo* description = raster->GetRasterInfo();
    if (!description)
        return Fail(ProcessStatus::NoDescription, FormatString("the %s raster has no description", role));
    if (description->cols >= least.columns && description->rows >= least.rows) return true;
    return Fail(ProcessStatus::RasterTooSmall,
                FormatString("the %s raster of %u x %u pixels is too small; it must cover %u x %u", role,
                             description->cols, description->rows, least.columns, least.rows));
}

template <class T>
bool PansharpRaster::CreateFusion() {
    Pipeline<T>& pipeline = GetPipeline<T>();
    Fundament::Status reasons;
    pipeline.panSharpImage = PXL::CreatePanSharpImage<T>(method, reasons);
    if (!pipeline.panSharpImage)
        return Fail(ProcessStatus::NoPanSharpImage, "could not create PXL::PanSharp object", &reasons);
    PXL::PanSharpImage<T>& image = *pipeline.panSharpImage;
    image.properties.Merge(properties, false, {}, {});
    // The number of bands that Init published, since the host reads such rows, whatever it has set later.
    image.properties[PropertyNames::outputBands] = FormatString("%u", info.bandsPerPixel);
    image.EnableMetadata(generateMetadata);
    image.UseSimdTarget(simdTarget);
    // One infrared band is fused from its own raster: merging it into every row first takes longer than
    // fusing.
    if (pipeline.msSource == pipeline.mergedImage.get() && pipeline.irImage.GetInfo().bands == 1)
        image.TakeRowsApart([merged = pipeline.mergedImage.get()](std::uint32_t row) {
            const auto rows = merged->GetInputRows(row);
            return std::pair{rows.row1, rows.row2};
        });
    if (!image.Init(pipeline.msSource, &pipeline.panImage))
        return Fail(ProcessStatus::PanSharpImageFailed, "PXL::PanSharp initialization failed", &image.status);
    if (generateMetadata) ExportPropertiesToMap(image.GetMetadata(), metadata, false, {}, {});
    return true;
}

template <class T>
const unsigned char* PansharpRaster::GetPipelineRow(std::uint32_t row) {
    PXL::PanSharpImage<T>& image = *GetPipeline<T>().panSharpImage;
    // Rows past the end of pan are left to the image, which knows pan's size. Other rows outside the window
    // have no defined samples.
    if (row < currentWindow.row0 || (row >= currentWindow.row1 && row < image.GetInfo().rows)) {
        AddOnce(ProcessStatus::RowOutsideWindow,
                FormatString("row %u lies outside the window (rows %u to %u)", row, currentWindow.row0,
                             currentWindow.row1));
        return nullptr;
    }
    if (const T* samples = image.GetRow(row)) return reinterpret_cast<const unsigned char*>(samples);
    AppendOnce(image.status);
    if (const auto& merged = GetPipeline<T>().mergedImage) AppendOnce(merged->status);
    for (IRaster* raster : {panRaster, msRaster, irRaster})
        if (raster) AppendOnce(raster->GetStatus());
    return nullptr;
}

template <class T>
int PansharpRaster::CollectPipelineMetadata() {
    if (const auto& image = GetPipeline<T>().panSharpImage)
        ExportPropertiesToMap(image->GetMetadata(), metadata, false, {}, {});
    return 1;
}

template void PansharpRaster::Pipeline<unsigned char>::Clear();
template void PansharpRaster::Pipeline<unsigned short>::Clear();
template int PansharpRaster::OpenPipeline<unsigned char>(const Window&);
template int PansharpRaster::OpenPipeline<unsigned short>(const Window&);
template const unsigned char* PansharpRaster::GetPipelineRow<unsigned char>(std::uint32_t);
template const unsigned char* PansharpRaster::GetPipelineRow<unsigned short>(std::uint32_t);
template int PansharpRaster::CollectPipelineMetadata<unsigned char>();
template int PansharpRaster::CollectPipelineMetadata<unsigned short>();

} // namespace KOVA::Tessara::Pixmere
