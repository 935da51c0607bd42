#include "hostkit/RasterBase.h"

#include "fundament/Text.h"
#include "host/NameValueMap.h"
#include "hostkit/HostKitStatus.h"

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using ULong = unsigned long; // what "%lu" takes

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
                        FormatString("the window (columns %lu to %lu, rows %lu to %lu) must not be empty and "
                                     "must lie within columns %lu to %lu and rows %lu to %lu",
                                     ULong{col0}, ULong{col1}, ULong{row0}, ULong{row1},
                                     ULong{available.col0}, ULong{available.col1}, ULong{available.row0},
                                     ULong{available.row1}));
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
    return Fail(HostKitStatus::RowOutsideWindow,
                FormatString("row %lu lies outside the window (rows %lu to %lu)", ULong{row},
                             ULong{window.row0}, ULong{window.row1}));
}

bool RasterBase::Fail(std::uint32_t id, const std::string& message) {
    status.Reset(0, {}, statusSource, {});
    status.Add(id, message, {});
    return false;
}

} // namespace hostkit
