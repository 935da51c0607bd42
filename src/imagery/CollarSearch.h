#pragma once

#include "fundament/Status.h"
#include "hostkit/ImageSource.h"
#include "imagery/ZeroCollar.h"

#include <functional>
#include <memory>
#include <vector>

namespace imagery {

/// The result of a search for a collar of zeros.
enum class CollarFinding {
    None,       ///< few pixels of the edge are 0 in all bands
    Found,      ///< the image has a collar
    Ragged,     ///< many pixels of the edge are 0, but not in the shape of a collar
    TooLarge,   ///< many are 0, but the image has too many pixels to be searched
    Everything, ///< every pixel of the image is 0 in all bands
    Cancelled,
    Failed ///< the image cannot be read; there is an item
};

/// The parts of an image that are read as its edge: the first and last row, and a regular choice of rows
/// between, since a file in strips must be read completely for its first column.
[[nodiscard]] std::vector<hostkit::PixelRect> EdgeOf(const KOVA::Tessara::Pixmere::RasterInfo& info);

/// Checks whether at least a twentieth of an image's edge is 0 in all bands; if so, finds the collar.
/// `keepOn` is called between blocks and cancels by false; it may be empty.
[[nodiscard]] CollarFinding FindCollar(hostkit::ImageSource& image, const std::function<bool()>& keepOn,
                                       std::shared_ptr<const ZeroCollar>& collar,
                                       KOVA::Tessara::Fundament::Status& status);

/// The pixels of a collar in per cent of its image.
[[nodiscard]] double PerCentOf(const ZeroCollar& collar);

enum class DataSearch { Found, None, Cancelled };

/// Looks for one pixel with data in all bands, first in the middle, then from the top; so only an image
/// without data is read completely. What cannot be read counts as data. `keepOn` as above.
[[nodiscard]] DataSearch SearchData(hostkit::ImageSource& image, const std::function<bool()>& keepOn);

} // namespace imagery
