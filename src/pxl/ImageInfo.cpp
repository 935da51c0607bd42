#include "pxl/ImageInfo.h"

namespace PXL {

std::string ColorSpaceName(std::uint32_t code) {
    switch (code) {
    case 0:
        return "Gray";
    case 1:
        return "RGB";
    case 2:
        return "CMYK";
    case 5:
        return "HSI";
    case 7:
        return "Paletted";
    default:
        return "Unknown";
    }
}

} // namespace PXL
