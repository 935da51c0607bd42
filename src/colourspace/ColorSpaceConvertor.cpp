#include "colourspace/ColorSpaceConvertor.h"

#include "fundament/Text.h"

#include <limits>

namespace PXL {

using Fundament::FormatString;
using ULong = unsigned long; // what "%lu" takes

template <class T>
ColorSpaceConvertor<T>::ColorSpaceConvertor(const ColorSpaceConversion<T>& conversionMade)
    : conversion(conversionMade) {
    ColorSpaceConvertor::Reset();
}

template <class T>
ColorSpaceConvertor<T>::~ColorSpaceConvertor() = default;

template <class T>
bool ColorSpaceConvertor<T>::Reset() {
    this->status.Reset(0, {}, conversion.source, {});
    outputInfo = {};
    outputBuffer = {};
    windowWidth = 0;
    return true;
}

template <class T>
bool ColorSpaceConvertor<T>::Init(const ImageInfo& input) {
    ImageInfo info = input; // may be this converter's own description
    Reset();
    if (info.bands != 3) {
        this->status.Insert(ColorSpaceStatus::WrongBandCount,
                            FormatString(conversion.bandMessage, ULong{info.bands}));
        return false;
    }
    if (!Fundament::StringsEqual(info.properties["ColorSpace"], conversion.requiredColorSpace, true)) {
        this->status.Insert(ColorSpaceStatus::WrongColorSpace, conversion.colorSpaceMessage);
        return false;
    }
    const std::uint64_t samples = std::uint64_t{info.cols} * 3;
    if (samples > std::numeric_limits<std::uint32_t>::max()) {
        this->status.Insert(ColorSpaceStatus::RowTooLong,
                            FormatString("a row of %lu columns is too long", ULong{info.cols}));
        return false;
    }
    info.properties["ColorSpace"] = conversion.producedColorSpace;
    if (conversion.declaresBitDepth) info.bitsPerSample = std::numeric_limits<T>::digits;
    outputInfo = info;
    outputBuffer.assign(samples, 0);
    return true;
}

template <class T>
bool ColorSpaceConvertor<T>::SetWindow(std::uint32_t col0, std::uint32_t col1) {
    this->SetColumns(col0, col1, outputInfo.cols);
    windowWidth = this->endColumn - this->firstColumn;
    return true;
}

template <class T>
T* ColorSpaceConvertor<T>::ProcessRow(const T* input, std::uint32_t) {
    if (!input || windowWidth == 0) return nullptr;
    conversion.row(input, outputBuffer.data(), windowWidth);
    return outputBuffer.data();
}

template class ColorSpaceConvertor<unsigned char>;
template class ColorSpaceConvertor<unsigned short>;

} // namespace PXL
