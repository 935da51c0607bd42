#pragma once

#include "fundament/Status.h"
#include "host/Aoi.h"
#include "hostkit/SampleBlock.h"

#include <optional>

/// A request record on the host's side: writing it for a window, and finding the window in it when it comes
/// back to a chain.
namespace hostkit {

/// The whole image as a rectangle.
[[nodiscard]] PixelRect WholeImage(const KOVA::Tessara::Pixmere::RasterInfo& info);

/// A window of a grid as a grid of its own.
[[nodiscard]] KOVA::Tessara::Pixmere::RasterInfo WindowInfo(const KOVA::Tessara::Pixmere::RasterInfo& grid,
                                                            const PixelRect& window);

/// The record for a window of a grid: its bounds in map units, the lower vertical bound first, and its size.
/// A process copies the bounds as they are and takes the size from the window, so write it again for every
/// window.
[[nodiscard]] KOVA::Tessara::Pixmere::Aoi MakeRequest(const KOVA::Tessara::Pixmere::RasterInfo& grid,
                                                      const PixelRect& window, const std::string& srs = {});

/// What a record asks for.
struct RequestedWindow {
    PixelRect rect;        ///< of the grid
    bool inPixels = false; ///< the request counts pixels: read from them as they are, nothing is resampled
};

/// The window that a record asks for: its first pixel is the nearest whole pixel of the grid to the left and
/// upper bounds, its size is the record's. The vertical bounds may come in either order. A request in pixel
/// coordinates has bounds one pixel more than its size, on half pixels: 9.5 to 110.5 for 100 columns from
/// column 10. Nothing, with an item in `status`, when bounds and size contradict each other or the window
/// starts before the grid.
[[nodiscard]] std::optional<RequestedWindow>
FindRequestedWindow(const KOVA::Tessara::Pixmere::Aoi& request,
                    const KOVA::Tessara::Pixmere::RasterInfo& grid, KOVA::Tessara::Fundament::Status& status);

} // namespace hostkit
