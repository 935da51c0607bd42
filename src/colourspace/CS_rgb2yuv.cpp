#include "colourspace/CS_rgb2yuv.h"

namespace PXL {

template <class T>
CS_rgb2yuv<T>::CS_rgb2yuv()
    : ColorSpaceConvertor<T>({.source = "ColorSpaceConvertor/rgb2yuv",
                              .requiredColorSpace = "RGB",
                              .producedColorSpace = "YUV",
                              .bandMessage = "input image has %u bands; must be a 3-band image",
                              .colorSpaceMessage = "input-image must be in the RGB color-space",
                              .declaresBitDepth = true,
                              .row = kernels::Conversion::RgbToYuv}) {}

template class CS_rgb2yuv<unsigned char>;
template class CS_rgb2yuv<unsigned short>;

} // namespace PXL
