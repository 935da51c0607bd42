#pragma once

#include "hostkit/Resampling.h"
#include "hostkit/SampleBlock.h"
#include "rasterhost/requests/Requests.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace view {

enum class Layer { Pan, Upsampled, Sharpened };

/// How a client wants to see the scene. What is left open is taken from the scene, or fitted.
struct Look {
    Layer layer = Layer::Sharpened;
    std::string method; ///< a keyword in any letter case
    std::optional<hostkit::Resampling> sampling;
    std::vector<double> weights; ///< one per multispectral band
    std::optional<double> infraredWeight, transfer;
    std::vector<rasterhost::BandGains> gains;
    std::vector<int> bands; ///< to show or deliver, counted from 1, each at most once
    double stretch = 2.0;   ///< percentage of the samples that become black, and the same for white
    /// False once nobody waits for the result: long work then stops. May be empty.
    std::function<bool()> isWanted;
};

enum class TileFormat { Jpeg, Png, Raw };

/// The contents of a request.
struct Request {
    enum class Kind { Page, Scene, Parameters, Tile, Sample, Command, Window, Quality };

    Kind kind = Kind::Page;
    std::string page; ///< the path, for a file of the page
    Look look;
    unsigned zoom = 0;                 ///< of a tile; at 0 one tile shows the whole scene
    std::uint32_t column = 0, row = 0; ///< of a tile at its zoom, or of a pixel
    TileFormat format = TileFormat::Jpeg;
    hostkit::PixelRect window; ///< in pixels of the scene; empty for all of it
    std::string version;       ///< the version of the scene that the client expects; may be empty
};

inline constexpr unsigned mostZoom = 31;

/// Reads the part of a request line between the method and the version of HTTP. Throws BadRequest. Whether
/// the scene has such a tile, method or band is not checked here.
[[nodiscard]] Request ReadRequest(std::string_view target);

} // namespace view
