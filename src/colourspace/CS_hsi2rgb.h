#pragma once

#include "colourspace/ColorSpaceConvertor.h"

namespace PXL {

/// Hue, saturation and lightness to RGB (kernels/HsiRow.h).
template <class T>
class CS_hsi2rgb final : public ColorSpaceConvertor<T> {
public:
    CS_hsi2rgb();
};

using CS_hsi2rgb8 = CS_hsi2rgb<unsigned char>;
using CS_hsi2rgb16 = CS_hsi2rgb<unsigned short>;

} // namespace PXL
