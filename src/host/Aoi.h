#pragma once

#include "host/NameValueMap.h"
#include "host/RasterInfo.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace KOVA::Tessara::Pixmere {

/// Four bounds in map units (or in pixels, where a request is made in pixel coordinates) and two further
/// values.
struct Extent {
    double left = 0.0;
    double right = 0.0;
    double vertical1 = 0.0; ///< the two vertical bounds; who writes them decides which comes first
    double vertical2 = 0.0;
    double reserved1 = 0.0;
    double reserved2 = 0.0;
};

struct Size {
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
};

/// The request record: what part of the world a process is asked for, and at what size. Copied by value.
struct Aoi {
    Extent extent;
    Size size;
    std::string srs;
    Extent requestExtent;
    Size requestSize;
    std::vector<std::uint32_t> bandIds;
    std::vector<BandRecord> bandRecords;
    std::array<std::uint32_t, 6> reserved{};
    double resultValue = 0.0; ///< a chain that fails to initialise may leave a reason here
    Global::NameValueMap properties;
};

} // namespace KOVA::Tessara::Pixmere
