#pragma once

#include "colourspace/ColorSpaceConvertor.h"

namespace PXL {

/// RGB to YUV (kernels/YuvRow.h).
template <class T>
class CS_rgb2yuv final : public ColorSpaceConvertor<T> {
public:
    CS_rgb2yuv();
};

using CS_rgb2yuv8 = CS_rgb2yuv<unsigned char>;
using CS_rgb2yuv16 = CS_rgb2yuv<unsigned short>;

} // namespace PXL
