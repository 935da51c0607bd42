#pragma once

#include "fundament/Status.h"
#include "hostkit/ImageSource.h"
#include "imagery/ZeroCollar.h"

#include <functional>
#include <memory>
#include <vector>

namespace imagery {

/// What a search for a collar of zeros ends with.
enum class CollarFinding {
    None,       ///< few pixels of the edge are 0 in all bands
    Found,      ///< there is one
    Ragged,     ///< many are, but not in the shape of a collar
    TooLarge,   ///< many are, and the image has more pixels than are searched
    Everything, ///< every pixel of the image is 0 in all bands
    Cancelled,
    Failed ///< the image cannot be read; with an item
};

/// What of an image is read for its edge: all of the first and last row, and a regular choice of rows
/// between, since files in strips have to be read whole for their first column.
[[nodiscard]] std::vector<hostkit::PixelRect> EdgeOf(const KOVA::Tessara::Pixmere::RasterInfo& info);

/// Checks whether a twentieth of an image's edge is 0 in all bands, and finds the collar then. `keepOn` is
/// asked between blocks and may be empty.
[[nodiscard]] CollarFinding FindCollar(hostkit::ImageSource& image, const std::function<bool()>& keepOn,
                                       std::shared_ptr<const ZeroCollar>& collar,
                                       KOVA::Tessara::Fundament::Status& status);

/// The pixels of a collar in per cent of those of its image.
[[nodiscard]] double PerCentOf(const ZeroCollar& collar);

enum class DataSearch { Found, None, Cancelled };

/// Looks for one pixel that has data in all bands of an image, from its middle and then from its top: all of
/// it is read only where there is none. What cannot be read counts as data. `keepOn` as above.
[[nodiscard]] DataSearch SearchData(hostkit::ImageSource& image, const std::function<bool()>& keepOn);

} // namespace imagery
