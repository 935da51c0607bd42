#include "plugin/RasterProcess.h"

#include "fundament/Text.h"
#include "plugin/ProcessStatus.h"

#include <exception>
#include <new>

namespace KOVA::Tessara::Pixmere {

RasterProcess::RasterProcess() = default;
// Neither copies anything. The contract requires them, but nobody calls them.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
RasterProcess::RasterProcess(const RasterProcess&) : IObject(), IRasterProcess(), Object() {}
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
RasterProcess& RasterProcess::operator=(const RasterProcess&) { return *this; }
RasterProcess::~RasterProcess() = default;

std::string RasterProcess::ToString() {
    using Fundament::FormatString;
    try {
        return properties.ToXml({}) + "\n" +
               FormatString("Rows: %u\nCols: %u\nBandsPerPixel: %u\nBitsPerBand: %u\n", info.rows, info.cols,
                            info.bandsPerPixel, info.bitsPerBand) +
               FormatString("PixelSizeX: %g\nPixelSizeY: %g\n\n", info.pixelSizeX, info.pixelSizeY);
    } catch (...) {
        return {};
    }
}

int RasterProcess::Init() {
    try {
        BoundStatus();
        return InitProcess();
    } catch (...) {
        RecordException("Init");
        return 0;
    }
}

int RasterProcess::SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) {
    try {
        BoundStatus();
        return SetProcessWindow(col0, row0, col1, row1);
    } catch (...) {
        RecordException("SetWindow");
        return 0;
    }
}

const unsigned char* RasterProcess::GetRow(std::uint32_t row) {
    try {
        BoundStatus();
        return GetProcessRow(row);
    } catch (...) {
        RecordException("GetRow");
        return nullptr;
    }
}

int RasterProcess::SetWorkspace(void* newWorkspace) {
    workspace = newWorkspace;
    return 1;
}

int RasterProcess::SetAoi(Aoi* newAoi) {
    aoi = newAoi;
    return 1;
}

int RasterProcess::SetInputRaster(IRaster* raster) {
    if (!raster) return 0;
    inputRaster = raster;
    return 1;
}

unsigned short** RasterProcess::GetColorMap(unsigned int& count) {
    if (!inputRaster) return colorMap;
    try {
        return inputRaster->GetColorMap(count);
    } catch (...) {
        RecordException("GetColorMap");
        return nullptr;
    }
}

int RasterProcess::SetColorMap(unsigned short** map, unsigned int) {
    colorMap = map;
    return 1;
}

std::vector<Mapwarp::FGeoTransformers*> RasterProcess::GetGeoTransformer() {
    try {
        return geoTransformers;
    } catch (...) {
        return {};
    }
}

void RasterProcess::BoundStatus() {
    constexpr std::uint32_t most = 1000;
    const std::uint32_t count = status.GetCount();
    if (count <= most) return;
    status.Keep(count - most / 2, most / 2);
    status.Insert(
        ProcessStatus::ItemsDropped,
        "older items were dropped: beyond 1000 items the newest 500 are kept; read the status after every "
        "failure, and call Init to empty it",
        ProcessStatus::source);
}

int RasterProcess::Close() { return 1; }

void RasterProcess::RecordException(const char* operation) noexcept {
    try {
        try {
            throw;
        } catch (const std::bad_alloc&) {
            status.Add(ProcessStatus::Exception,
                       Fundament::FormatString("%s failed: there is not enough memory", operation), {});
        } catch (const std::exception& exception) {
            status.Add(ProcessStatus::Exception,
                       Fundament::FormatString("%s failed: %s", operation, exception.what()), {});
        } catch (...) {
            status.Add(ProcessStatus::Exception, Fundament::FormatString("%s failed unexpectedly", operation),
                       {});
        }
    } catch (...) { // no memory even for the message; the result still reports the failure
    }
}

} // namespace KOVA::Tessara::Pixmere
