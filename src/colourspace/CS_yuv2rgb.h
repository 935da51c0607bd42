#pragma once

#include "colourspace/ColorSpaceConvertor.h"

namespace PXL {

/// YUV to RGB (kernels/YuvRow.h).
template <class T>
class CS_yuv2rgb final : public ColorSpaceConvertor<T> {
public:
    CS_yuv2rgb();
};

using CS_yuv2rgb8 = CS_yuv2rgb<unsigned char>;
using CS_yuv2rgb16 = CS_yuv2rgb<unsigned short>;

} // namespace PXL
