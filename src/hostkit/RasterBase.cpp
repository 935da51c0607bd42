#include "hostkit/RasterBase.h"

#include "fundament/Text.h"
#include "host/NameValueMap.h"
#include "hostkit/HostKitStatus.h"

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;

RasterBase::RasterBase(const char* source) : statusSource(source) {}
RasterBase::~RasterBase() = default;

int RasterBase::SetProperties(const KOVA::Tessara::Global::NameValueMap* map) {
    try {
        return map ? KOVA::Tessara::Pixmere::NameValueMapToPropertyLookUp(*map, properties) : 0;
    } catch (...) {
        return 0;
    }
}

unsigned short** RasterBase::GetColorMap(unsigned int& count) {
    count = 0;
    return nullptr;
}

int RasterBase::SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) {
    const PixelRect wanted{col0, row0, col1, row1};
    try {
        if (wanted.IsEmpty() || !available.Contains(wanted))
            return Fail(HostKitStatus::WindowInvalid,
                        FormatString("the window (columns %u to %u, rows %u to %u) must not be empty and "
                                     "must lie within columns %u to %u and rows %u to %u",
                                     col0, col1, row0, row1, available.col0, available.col1, available.row0,
                                     available.row1));
        if (!OpenWindow(wanted)) return 0;
        window = wanted;
        return 1;
    } catch (...) {
        return 0;
    }
}

bool RasterBase::OpenWindow(const PixelRect&) { return true; }

bool RasterBase::HoldsRow(std::uint32_t row) {
    if (row >= window.row0 && row < window.row1) return true;
    return Fail(
        HostKitStatus::RowOutsideWindow,
        FormatString("row %u lies outside the window (rows %u to %u)", row, window.row0, window.row1));
}

bool RasterBase::Fail(std::uint32_t id, const std::string& message) {
    status.Reset(0, {}, statusSource, {});
    status.Add(id, message, {});
    return false;
}

} // namespace hostkit
