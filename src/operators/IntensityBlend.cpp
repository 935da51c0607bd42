#include "operators/IntensityBlend.h"

#include "colourspace/CreateColorSpaceConvertor.h"
#include "fundament/Text.h"

namespace PXL {

using Fundament::FormatString;

template <class T>
bool IntensityBlend<T>::InitOperator() {
    if (this->input2Bands != 1) {
        this->status.Insert(BlendStatus::AuxiliaryNotGray,
                            FormatString("Auxiliary image has %u bands;  it should be a single-band image",
                                         this->input2Bands));
        return false;
    }
    if (!this->DescribeOutput(this->input1Bands)) return false;
    this->ReadGainsAndOffsets();
    rgbToYuv = MakeConvertor("rgb2yuv", "RGB-to-YUV", this->outputInfo, BlendStatus::NoRgbToYuv,
                             BlendStatus::RgbToYuvFailed);
    if (!rgbToYuv) return false;
    ImageInfo yuvInfo = this->outputInfo;
    yuvInfo.properties["ColorSpace"] = "YUV";
    yuvToRgb =
        MakeConvertor("yuv2rgb", "YUV-to-RGB", yuvInfo, BlendStatus::NoYuvToRgb, BlendStatus::YuvToRgbFailed);
    if (!yuvToRgb) return false;
    this->PublishInputMaps();
    return true;
}

template <class T>
std::unique_ptr<ColorSpaceConvertor<T>>
IntensityBlend<T>::MakeConvertor(const char* keyword, const char* conversion, const ImageInfo& input,
                                 std::uint32_t idWhenMissing, std::uint32_t idWhenFailed) {
    Fundament::Status reasons;
    auto convertor = CreateColorSpaceConvertor<T>(keyword, reasons);
    if (convertor && this->simd.given) convertor->UseSimdTarget(*this->simd.given);
    if (!convertor) {
        this->status.Insert(idWhenMissing, FormatString("Could not create %s Convertor", conversion));
        this->status.Append(reasons);
    } else if (!convertor->Init(input)) {
        this->status.Insert(idWhenFailed, FormatString("Could not initialize %s Convertor", conversion));
        this->status.Append(convertor->status);
        convertor.reset();
    }
    return convertor;
}

template <class T>
bool IntensityBlend<T>::Reset() {
    rgbToYuv.reset();
    yuvToRgb.reset();
    return BlendPixels<T>::Reset();
}

template <class T>
bool IntensityBlend<T>::SetWindow(std::uint32_t col0, std::uint32_t col1) {
    BlendPixels<T>::SetWindow(col0, col1);
    if (!rgbToYuv || !yuvToRgb) return false;
    rgbToYuv->SetWindow(col0, col1);
    yuvToRgb->SetWindow(col0, col1);
    return true;
}

template <class T>
T* IntensityBlend<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    constexpr std::uint32_t noRow = 0xFFFFFFFFu;
    if (!rgbToYuv || !yuvToRgb || !row2) return nullptr;
    T* yuv = rgbToYuv->ProcessRow(row1, noRow);
    if (!yuv) return nullptr;
    this->rows.addToFirst(yuv, row2, this->windowWidth, this->input1Maps[0], this->input2Maps[0]);
    return yuvToRgb->ProcessRow(yuv, noRow);
}

template class IntensityBlend<unsigned char>;
template class IntensityBlend<unsigned short>;

} // namespace PXL
