#pragma once

#include "fundament/Status.h"
#include "host/Aoi.h"
#include "hostkit/SampleBlock.h"

#include <optional>

/// A request record on the host's side: written for a window, and read when it comes back to a chain.
namespace hostkit {

/// The whole image as a rectangle.
[[nodiscard]] PixelRect WholeImage(const KOVA::Tessara::Pixmere::RasterInfo& info);

/// A window of a grid as a grid of its own.
[[nodiscard]] KOVA::Tessara::Pixmere::RasterInfo WindowInfo(const KOVA::Tessara::Pixmere::RasterInfo& grid,
                                                            const PixelRect& window);

/// The record for a window of a grid: its bounds in map units, the lower vertical bound first, and its size.
/// A process copies the bounds unchanged and takes the size from the window, so write a new record for every
/// window.
[[nodiscard]] KOVA::Tessara::Pixmere::Aoi MakeRequest(const KOVA::Tessara::Pixmere::RasterInfo& grid,
                                                      const PixelRect& window, const std::string& srs = {});

/// What a record asks for.
struct RequestedWindow {
    PixelRect rect;        ///< of the grid
    bool inPixels = false; ///< the request counts pixels of the image: they are read as they are, without
                           ///< resampling
};

/// The window that a record asks for. Its first pixel is the whole pixel of the grid nearest to the left and
/// upper bounds; its size is the record's. The vertical bounds may come in either order. A request in pixel
/// coordinates has bounds one pixel wider than its size, on half pixels: 9.5 to 110.5 for 100 columns from
/// column 10. Empty, with an item in `status`, when bounds and size contradict each other or the window
/// starts before the grid.
[[nodiscard]] std::optional<RequestedWindow>
FindRequestedWindow(const KOVA::Tessara::Pixmere::Aoi& request,
                    const KOVA::Tessara::Pixmere::RasterInfo& grid, KOVA::Tessara::Fundament::Status& status);

} // namespace hostkit
