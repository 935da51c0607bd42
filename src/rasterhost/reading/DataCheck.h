#pragma once

#include "imagery/CollarSearch.h"
#include "rasterhost/reading/InputImage.h"

#include <functional>

namespace rasterhost {

/// Looks for one pixel that has data in all bands of an image, from its middle and then from its top: all of
/// it is read only where there is none. None comes with an item, which names the band that has no data where
/// one is to blame. What cannot be read counts as data: the run that reads it tells what is wrong. `keepOn`
/// is asked between blocks and may be empty.
[[nodiscard]] imagery::DataSearch FindData(InputImage& image, const std::function<bool()>& keepOn,
                                           Status& status);

/// Checks that a value which is to mean no data is one that the samples of an image can have at all. False
/// with an item that says which they have. Scaled samples are of any value.
[[nodiscard]] bool CheckNoDataValue(double value, const std::vector<const InputImage*>& images,
                                    Status& status);

} // namespace rasterhost
