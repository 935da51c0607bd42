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
    double left = 0.0;      ///< the bound where columns start
    double right = 0.0;     ///< the bound where they end
    double vertical1 = 0.0; ///< the two vertical bounds; who writes them decides which comes first
    double vertical2 = 0.0; ///< the other of them
    double reserved1 = 0.0; ///< not interpreted, like the next
    double reserved2 = 0.0; ///< not interpreted
};

/// Columns and rows, in pixels.
struct Size {
    std::uint32_t columns = 0; ///< pixels across
    std::uint32_t rows = 0;    ///< pixels down
};

/// The request record: what part of the world a process is asked for, and at what size. Copied by value.
struct Aoi {
    Extent extent;                           ///< what is asked for
    Size size;                               ///< pixels that it is to have
    std::string srs;                         ///< spatial reference of the bounds, as text; may be empty
    Extent requestExtent;                    ///< the bounds that a process takes over into `extent`
    Size requestSize;                        ///< the size at which those are asked for
    std::vector<std::uint32_t> bandIds;      ///< bands that are asked for; the plug-in empties it
    std::vector<BandRecord> bandRecords;     ///< one per band; carried unchanged
    std::array<std::uint32_t, 6> reserved{}; ///< not interpreted
    double resultValue = 0.0;                ///< a chain that fails to initialise may leave a reason here
    Global::NameValueMap properties;         ///< settings of the request, such as how to sample
};

} // namespace KOVA::Tessara::Pixmere
