#include "colourspace/CS_yuv2rgb.h"

namespace PXL {

template <class T>
CS_yuv2rgb<T>::CS_yuv2rgb()
    : ColorSpaceConvertor<T>({.source = "ColorSpaceConvertor/yuv2rgb",
                              .requiredColorSpace = "YUV",
                              .producedColorSpace = "RGB",
                              .bandMessage = "input-image has %u bands; must be a 3-band image",
                              .colorSpaceMessage = "input image must be in the yuv color-space",
                              .declaresBitDepth = true,
                              .row = kernels::Conversion::YuvToRgb}) {}

template class CS_yuv2rgb<unsigned char>;
template class CS_yuv2rgb<unsigned short>;

} // namespace PXL
