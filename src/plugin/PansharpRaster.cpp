#include "plugin/PansharpRaster.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "plugin/ProcessStatus.h"

namespace KOVA::Tessara::Pixmere {

using Fundament::FormatString;

PansharpRaster::~PansharpRaster() { ReleaseWindow(); }

int PansharpRaster::SetProperties(const Global::NameValueMap* map) {
    if (!map || map->GetCount() == 0) return 0;
    try {
        return NameValueMapToPropertyLookUp(*map, properties);
    } catch (...) {
        RecordException("SetProperties");
        return 0;
    }
}

int PansharpRaster::SetWorkspace(void* newWorkspace) {
    if (!newWorkspace)
        sourceTaken = true;
    else if (static_cast<IRasterWorkspace*>(newWorkspace) == chainSource)
        sourceTaken = false;
    return RasterProcess::SetWorkspace(newWorkspace);
}

int PansharpRaster::Reset() {
    ReleaseWindow();
    panRaster = nullptr;
    reSampleMS = true;
    reSampleIR = true;
    status.Reset(0, {}, ProcessStatus::source, {});
    return 1;
}

int PansharpRaster::InitProcess() {
    Reset();
    generateMetadata = Fundament::StringToBool(properties[PropertyNames::generateMetadata], false);
    method = properties[PropertyNames::method];
    simdTarget = kernels::ChosenSimdTarget();
    panRaster = inputRaster;
    if (!panRaster) return Fail(ProcessStatus::NoInputRaster, "No Input Raster.");
    if (panRaster->Init() == 0)
        return Fail(ProcessStatus::PanNotInitialized, "Could not initialize pan image",
                    &panRaster->GetStatus());
    const RasterInfo* description = panRaster->GetRasterInfo();
    if (!description) return Fail(ProcessStatus::NoDescription, "the pan raster has no description");
    workInfo = *description;
    ReadProperties();
    if (workInfo.bitsPerBand == 8)
        BindPixelType<unsigned char>();
    else if (workInfo.bitsPerBand == 16)
        BindPixelType<unsigned short>();
    else
        return Fail(
            ProcessStatus::DepthNotSupported,
            FormatString("Image format not supported : bits per channel (%u) invalid", workInfo.bitsPerBand));
    boundBits = workInfo.bitsPerBand;
    workInfo.colorSpace = workInfo.bandsPerPixel != 1 ? 1 : 0; // "RGB", "Gray"
    info = workInfo;
    return 1;
}

void PansharpRaster::ReadProperties() {
    msImageId = properties[PropertyNames::multispectralImage];
    processRasterId = properties[PropertyNames::processRaster];
    additionalBandId = properties[PropertyNames::additionalImage];
    reSampleMS = Fundament::StringToBool(properties[PropertyNames::resampleMultispectral], true);
    reSampleIR = Fundament::StringToBool(properties[PropertyNames::resampleAdditional], true);
    workInfo.bandsPerPixel = Fundament::StringToUnsignedLong(properties[PropertyNames::outputBands], 3);
}

template <class T>
void PansharpRaster::BindPixelType() {
    pipelineOpener = &PansharpRaster::OpenPipeline<T>;
    rowReader = &PansharpRaster::GetPipelineRow<T>;
    metadataCollector = &PansharpRaster::CollectPipelineMetadata<T>;
}

int PansharpRaster::SetProcessWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1,
                                     std::uint32_t row1) {
    if (!pipelineOpener) return 0;
    ReleaseWindow();
    const Window window{col0, row0, col1, row1};
    if (!CheckWindow(window)) return 0;
    PrepareRequest(window);
    if (!ObtainChains(window)) return 0;
    if ((this->*pipelineOpener)(window) == 0) return 0;
    currentWindow = window;
    windowOpen = true;
    return 1;
}

bool PansharpRaster::CheckWindow(const Window& window) {
    const RasterInfo* pan = panRaster ? panRaster->GetRasterInfo() : nullptr;
    if (!pan) return Fail(ProcessStatus::NoDescription, "the pan raster has no description");
    if (window.col0 >= window.col1 || window.row0 >= window.row1 || window.col1 > pan->cols ||
        window.row1 > pan->rows)
        return Fail(
            ProcessStatus::WindowInvalid,
            FormatString("invalid window: columns %u to %u, rows %u to %u; each must end past its start "
                         "and within the pan raster's %u columns and %u rows",
                         window.col0, window.col1, window.row0, window.row1, pan->cols, pan->rows));
    // After a failed Init the binding of an earlier one is still there, with rows of another size.
    if (pan->bitsPerBand != boundBits)
        return Fail(
            ProcessStatus::DepthChanged,
            FormatString("the pan raster has %u bits per channel, but the process was initialized for %u; "
                         "call Init again",
                         pan->bitsPerBand, boundBits));
    if (!aoi) return Fail(ProcessStatus::NoRequest, "no request record: call SetAoi before SetWindow");
    return true;
}

void PansharpRaster::PrepareRequest(const Window& window) {
    workAoi = *aoi;
    workAoi.properties["ClientProperties/SamplingMethod"] = "Bilinear";
    workAoi.extent = workAoi.requestExtent;
    workAoi.size = window.GetSize();
    workAoi.requestSize = workAoi.size;
    workAoi.bandIds.clear();
    workAoi.bandRecords.clear();
    if (!reSampleMS) RequestInPixels(window.row1 + 0.5, window.row0 - 0.5, window);
}

void PansharpRaster::RequestInPixels(double vertical1, double vertical2, const Window& window) {
    workAoi.srs = workAoi.properties["RasterGroup/Srs"];
    for (Extent* extent : {&workAoi.extent, &workAoi.requestExtent}) {
        extent->left = window.col0 - 0.5;
        extent->right = window.col1 + 0.5;
        extent->vertical1 = vertical1;
        extent->vertical2 = vertical2;
    }
}

bool PansharpRaster::ObtainChains(const Window& window) {
    if (msImageId.empty())
        return Fail(ProcessStatus::NoMultispectralImage, "no multispectral Image specified");
    if (!workspace)
        return Fail(ProcessStatus::NoWorkspace, "no workspace: call SetWorkspace before SetWindow");
    chainSource = static_cast<IRasterWorkspace*>(workspace);
    sourceTaken = false;
    irChain = nullptr; // the chain of a removed workspace was destroyed with it
    const auto obtain = [&](const std::string& imageId, std::uint32_t id, const char* message) {
        Fundament::Status reasons;
        IRasterProcessChain* chain =
            chainSource->GetProcessChain(processRasterId, imageId, &workAoi, reasons);
        if (!chain)
            Fail(id, FormatString(message, processRasterId.c_str(), imageId.c_str()), &reasons);
        else if (generateMetadata)
            chain->SetProperty("_key_Process_TransmitProcessMetadata_", "true");
        return chain;
    };
    msChain = obtain(msImageId, ProcessStatus::NoMultispectralChain,
                     "Could not get ProcessChain for MultiSpectral Image ID: %s->%s");
    if (!msChain) return false;
    if (additionalBandId.empty()) return true;
    // The infrared request has its vertical bounds in the opposite order to the multispectral one.
    if (!reSampleIR) RequestInPixels(window.row0 - 0.5, window.row1 + 0.5, window);
    irChain = obtain(additionalBandId, ProcessStatus::NoInfraredChain,
                     "Could not get ProcessChain for Infrared Image ID: %s->%s");
    return irChain != nullptr;
}

const unsigned char* PansharpRaster::GetProcessRow(std::uint32_t row) {
    if (!windowOpen) {
        AddOnce(ProcessStatus::NoWindow, "no window: rows can be read after a successful SetWindow only");
        return nullptr;
    }
    return (this->*rowReader)(row);
}

const Global::NameValueMap& PansharpRaster::GetMetadata() {
    try {
        if (metadataCollector) (this->*metadataCollector)();
    } catch (...) {
        RecordException("GetMetadata");
    }
    return metadata;
}

void PansharpRaster::ReleaseWindow() noexcept {
    windowOpen = false;
    pipeline8.Clear();
    pipeline16.Clear();
    msRaster = nullptr;
    irRaster = nullptr;
    if (sourceTaken) return; // the chains are gone with it, unless it is set again
    ReleaseChain(msChain);
    ReleaseChain(irChain);
    chainSource = nullptr;
}

void PansharpRaster::ReleaseChain(IRasterProcessChain*& chain) noexcept {
    if (!chain) return;
    try {
        chainSource->ReleaseProcessChain(&chain);
    } catch (...) { // a failure of the host; the chain is not used again
    }
    chain = nullptr; // even if the workspace does not clear the holder: no chain is given back twice
}

bool PansharpRaster::Fail(std::uint32_t id, const std::string& message, const Fundament::Status* reasons) {
    status.Add(id, message, {});
    if (reasons) status.Append(*reasons);
    return false;
}

void PansharpRaster::AddOnce(std::uint32_t id, const std::string& message) {
    const Fundament::StatusItem item{id, message, ProcessStatus::source, {}};
    if (!status.Contains(item)) status.Add(item);
}

void PansharpRaster::AppendOnce(const Fundament::Status& reasons) {
    for (std::uint32_t i = 0; i < reasons.GetCount(); ++i) {
        const Fundament::StatusItem& item = reasons.GetItem(i);
        const bool isEmpty = item.id == 0 && item.message.empty(); // some images begin with such an item
        if (!isEmpty && !status.Contains(item)) status.Add(item);
    }
}

} // namespace KOVA::Tessara::Pixmere
