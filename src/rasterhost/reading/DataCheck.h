#pragma once

#include "imagery/CollarSearch.h"
#include "rasterhost/reading/InputImage.h"

#include <functional>

namespace rasterhost {

/// Looks for one pixel with data in all bands of an image, first in the middle, then from the top; so only an
/// image without data is read completely. If there is none, an item names the band that has no data, if one
/// alone is the cause. What cannot be read counts as data: the run that reads it reports the error. `keepOn`
/// is called between blocks and may be empty.
[[nodiscard]] imagery::DataSearch FindData(InputImage& image, const std::function<bool()>& keepOn,
                                           Status& status);

/// Checks that a value for no data is one that the samples of an image can have. False with an item that
/// names their range. Scaled samples may have any value.
[[nodiscard]] bool CheckNoDataValue(double value, const std::vector<const InputImage*>& images,
                                    Status& status);

} // namespace rasterhost
