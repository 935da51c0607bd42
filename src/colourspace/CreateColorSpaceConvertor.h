#pragma once

#include "colourspace/ColorSpaceConvertor.h"

#include <memory>
#include <string>

namespace PXL {

/// A new converter, not yet initialised, for the keyword "hsi2rgb", "rgb2hsi", "yuv2rgb" or "rgb2yuv" in any
/// letter case. Every call inserts an empty item with id 0 into `status`. For any other keyword the result is
/// null and the item 0x1002 stands before that one.
template <class T>
[[nodiscard]] std::unique_ptr<ColorSpaceConvertor<T>> CreateColorSpaceConvertor(const std::string& keyword,
                                                                                Fundament::Status& status);

} // namespace PXL
