#include "colourspace/CS_hsi2rgb.h"

namespace PXL {

template <class T>
CS_hsi2rgb<T>::CS_hsi2rgb()
    : ColorSpaceConvertor<T>({.source = "ColorSpaceConvertor/hsi2rgb",
                              .requiredColorSpace = "HSI",
                              .producedColorSpace = "RGB",
                              .bandMessage = "input-image has %u bands; must be a 3-band image",
                              .colorSpaceMessage = "input image must be in the hsi color-space",
                              .declaresBitDepth = false,
                              .row = kernels::Conversion::HsiToRgb}) {}

template class CS_hsi2rgb<unsigned char>;
template class CS_hsi2rgb<unsigned short>;

} // namespace PXL
