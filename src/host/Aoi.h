#pragma once

#include "host/NameValueMap.h"
#include "host/RasterInfo.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace KOVA::Tessara::Pixmere {

/// Four bounds in map units, or in pixels when a request is made in pixel coordinates, and two further
/// values.
struct Extent {
    double left = 0.0;      ///< the bound where columns begin
    double right = 0.0;     ///< the bound where they end
    double vertical1 = 0.0; ///< one vertical bound; the writer decides which comes first
    double vertical2 = 0.0; ///< the other vertical bound
    double reserved1 = 0.0; ///< not interpreted
    double reserved2 = 0.0; ///< not interpreted
};

/// Columns and rows, in pixels.
struct Size {
    std::uint32_t columns = 0; ///< pixels across
    std::uint32_t rows = 0;    ///< pixels down
};

/// The request record: the part of the world that a process is asked for, and its size in pixels. Copied by
/// value.
struct Aoi {
    Extent extent;                           ///< the bounds of the request
    Size size;                               ///< its size in pixels
    std::string srs;                         ///< spatial reference of the bounds, as text; may be empty
    Extent requestExtent;                    ///< the bounds that a process copies into `extent`
    Size requestSize;                        ///< the size that belongs to them
    std::vector<std::uint32_t> bandIds;      ///< requested bands; the plug-in empties the list
    std::vector<BandRecord> bandRecords;     ///< one per band; carried unchanged
    std::array<std::uint32_t, 6> reserved{}; ///< not interpreted
    double resultValue = 0.0;                ///< a chain that fails to initialize may leave a reason here
    Global::NameValueMap properties;         ///< settings of the request, such as how to sample
};

} // namespace KOVA::Tessara::Pixmere
