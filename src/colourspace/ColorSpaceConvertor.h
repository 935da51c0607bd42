#pragma once

#include "kernels/ConvertRow.h"
#include "pxl/UnaryRowOperatorBase.h"

#include <vector>

namespace PXL {

/// Ids of the items that the converters and their creation function record.
namespace ColorSpaceStatus {
inline constexpr std::uint32_t UnknownMethod = 0x1002;
inline constexpr std::uint32_t WrongBandCount = 0x1003;
inline constexpr std::uint32_t WrongColorSpace = 0x1004;
inline constexpr std::uint32_t RowTooLong = 0x1010;
} // namespace ColorSpaceStatus

/// What differs between converters.
struct ColorSpaceConversion {
    const char* source; ///< of the items it records
    const char* requiredColorSpace;
    const char* producedColorSpace;
    const char* bandMessage; ///< with one "%u", the number of bands
    const char* colorSpaceMessage;
    bool declaresBitDepth; ///< sets `bitsPerSample` of the output to the pixel type's
    kernels::Conversion row;
};

/// Converts rows of three bands from one colour space to another. Publishes no metadata.
///
/// A converter is a class that passes its ColorSpaceConversion to this base.
template <class T>
class ColorSpaceConvertor : public UnaryRowOperator<T> {
public:
    ColorSpaceConvertor(const ColorSpaceConvertor&) = delete;
    ColorSpaceConvertor& operator=(const ColorSpaceConvertor&) = delete;

    /// The input's description with the new "ColorSpace"; after a failed Init a description of 0 columns.
    ImageInfo GetOutputInfo() override { return outputInfo; }
    T* ProcessRow(const T* input, std::uint32_t row) override;
    bool SetWindow(std::uint32_t col0, std::uint32_t col1) override; ///< always true

    /// False, with an item, unless the image has exactly three bands and the required "ColorSpace" (in any
    /// letter case).
    virtual bool Init(const ImageInfo& input);
    /// Sets the vector target for the next Init. It must be able to run here. Without it, Init chooses.
    void UseSimdTarget(kernels::SimdTarget target) { simd.given = target; }
    virtual bool Reset(); ///< frees the row, empties the status; then ProcessRow returns null
    virtual ~ColorSpaceConvertor();

protected:
    explicit ColorSpaceConvertor(const ColorSpaceConversion& conversionMade);

private:
    const ColorSpaceConversion conversion;
    kernels::SimdChoice simd;
    kernels::ConvertRow<T> convertRow = nullptr; ///< chosen by Init
    ImageInfo outputInfo;
    std::vector<T> outputBuffer;
    std::uint32_t windowWidth = 0; ///< pixels; 0 while no window is set
};

using ColorSpaceConvertor8 = ColorSpaceConvertor<unsigned char>;
using ColorSpaceConvertor16 = ColorSpaceConvertor<unsigned short>;

} // namespace PXL
