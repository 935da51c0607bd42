#include "colourspace/ColorSpaceConvertor.h"

#include "fundament/Text.h"
#include "pxl/WorkingMemory.h"

#include <limits>

namespace PXL {

using Fundament::FormatString;

template <class T>
ColorSpaceConvertor<T>::ColorSpaceConvertor(const ColorSpaceConversion& conversionMade)
    : conversion(conversionMade) {
    ColorSpaceConvertor::Reset();
}

template <class T>
ColorSpaceConvertor<T>::~ColorSpaceConvertor() = default;

template <class T>
bool ColorSpaceConvertor<T>::Reset() {
    this->status.Reset(0, {}, conversion.source, {});
    outputInfo = ImageInfo();
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
                            FormatString(conversion.bandMessage, info.bands));
        return false;
    }
    if (!Fundament::StringsEqual(info.properties["ColorSpace"], conversion.requiredColorSpace, true)) {
        this->status.Insert(ColorSpaceStatus::WrongColorSpace, conversion.colorSpaceMessage);
        return false;
    }
    if (!RowFits(info.cols, info.bands, sizeof(T))) {
        this->status.Insert(ColorSpaceStatus::RowTooLong,
                            FormatString("a row of %u columns is too long: at most %u MiB", info.cols,
                                         static_cast<unsigned>(mostRowBytes >> 20)));
        return false;
    }
    info.properties["ColorSpace"] = conversion.producedColorSpace;
    if (conversion.declaresBitDepth) info.bitsPerSample = std::numeric_limits<T>::digits;
    convertRow = kernels::ConvertRowFor<T>(conversion.row, simd.Get());
    outputInfo = info;
    outputBuffer.assign(std::size_t{info.cols} * info.bands, 0);
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
    convertRow(input, outputBuffer.data(), windowWidth);
    return outputBuffer.data();
}

template class ColorSpaceConvertor<unsigned char>;
template class ColorSpaceConvertor<unsigned short>;

} // namespace PXL
