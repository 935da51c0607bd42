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

/// How somebody wants to see the scene. What is left open is that of the scene, or is fitted.
struct Look {
    Layer layer = Layer::Sharpened;
    std::string method; ///< a keyword in any letter case
    std::optional<hostkit::Resampling> sampling;
    std::vector<double> weights; ///< one per multispectral band
    std::optional<double> infraredWeight, transfer;
    std::vector<rasterhost::BandGains> gains;
    std::vector<int> bands; ///< to show or deliver, counted from 1, none twice
    double stretch = 2.0;   ///< per cent of the samples that go black, and as many white
    /// False once nobody waits for what comes of it: what takes long is given up then. May be empty.
    std::function<bool()> isWanted;
};

enum class TileFormat { Jpeg, Png, Raw };

/// What a request asks for.
struct Request {
    enum class Kind { Page, Scene, Parameters, Tile, Sample, Command, Window, Quality };

    Kind kind = Kind::Page;
    std::string page; ///< the path, for a file of the page
    Look look;
    unsigned zoom = 0;                 ///< of a tile; 0 is the whole scene in one
    std::uint32_t column = 0, row = 0; ///< of a tile among those of its zoom; or of a pixel
    TileFormat format = TileFormat::Jpeg;
    hostkit::PixelRect window; ///< in pixels of the scene; empty for all of it
    std::string version;       ///< of the scene that the client takes it for; may be empty
};

inline constexpr unsigned mostZoom = 31;

/// Reads what stands in a request line between the method and the version of HTTP. Throws BadRequest.
/// Whether the scene has such a tile, method or band is not known then.
[[nodiscard]] Request ReadRequest(std::string_view target);

} // namespace view
