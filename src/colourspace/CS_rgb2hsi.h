#pragma once

#include "colourspace/ColorSpaceConvertor.h"

namespace PXL {

/// RGB to hue, saturation and lightness (kernels/HsiRow.h).
template <class T>
class CS_rgb2hsi final : public ColorSpaceConvertor<T> {
public:
    CS_rgb2hsi();
};

using CS_rgb2hsi8 = CS_rgb2hsi<unsigned char>;
using CS_rgb2hsi16 = CS_rgb2hsi<unsigned short>;

} // namespace PXL
