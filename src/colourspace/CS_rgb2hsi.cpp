#include "colourspace/CS_rgb2hsi.h"

namespace PXL {

template <class T>
CS_rgb2hsi<T>::CS_rgb2hsi()
    : ColorSpaceConvertor<T>({.source = "ColorSpaceConvertor/rgb2hsi",
                              .requiredColorSpace = "RGB",
                              .producedColorSpace = "HSI",
                              .bandMessage = "input image has %u bands; must be a 3-band image",
                              .colorSpaceMessage = "input-image must be in the RGB color-space",
                              .declaresBitDepth = false,
                              .row = kernels::Conversion::RgbToHsi}) {}

template class CS_rgb2hsi<unsigned char>;
template class CS_rgb2hsi<unsigned short>;

} // namespace PXL
