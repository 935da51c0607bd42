#include "operators/Mask.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "kernels/Store.h"

#include <algorithm>

namespace PXL {

namespace {

template <class T>
std::vector<T> PackedColor(std::uint32_t packed, std::uint32_t bands) {
    std::vector<T> color(bands);
    for (std::uint32_t b = 0; b < bands; ++b)
        color[b] = static_cast<T>((packed >> (8 * std::min(b, 2u))) & 0xFFu);
    return color;
}

template <class T>
std::vector<T> ListedColor(const std::vector<std::string>& numbers, std::uint32_t bands) {
    std::vector<T> color(bands);
    for (std::uint32_t b = 0; b < bands; ++b) {
        const double whenMissing = b == 0 ? 0.0 : color[0];
        const std::string text = b < numbers.size() ? numbers[b] : std::string();
        color[b] = kernels::StoreTruncated<T>(Fundament::StringToDouble(text, whenMissing));
    }
    return color;
}

template <class T>
std::vector<T> ParseFillColor(const std::string& text, std::uint32_t bands) {
    if (text.find(',') == std::string::npos)
        return PackedColor<T>(Fundament::StringToUnsignedLong(text, 0), bands);
    return ListedColor<T>(Fundament::Tokenize(text, ",;"), bands);
}

} // namespace

template <class T>
bool Mask<T>::InitOperator() {
    if (this->input2Bands != 1) {
        this->status.Insert(BlendStatus::FormatsDiffer,
                            "Mask Image should always have one band.Current Mask Image Num Bands: " +
                                std::to_string(this->input2Bands));
        return false;
    }
    if (!this->MakeOutput(this->input1Bands)) return false;
    fillColor = ParseFillColor<T>(this->properties["FillColor"], this->input1Bands);
    fillValue = this->properties.GetUnsignedLong("FillValue", 0);
    this->ReadGainsAndOffsets();
    this->PublishOutputMaps();
    return true;
}

template <class T>
bool Mask<T>::Reset() {
    fillValue = 0;
    fillColor = {};
    return BlendPixels<T>::Reset();
}

template <class T>
T* Mask<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    if (!this->CanProcess(row1, row2)) return nullptr;
    this->rows.mask(row1, row2, this->outputBuffer.data(), this->windowWidth, this->input1Bands, fillValue,
                    fillColor.data());
    return this->outputBuffer.data();
}

template class Mask<unsigned char>;
template class Mask<unsigned short>;

} // namespace PXL
