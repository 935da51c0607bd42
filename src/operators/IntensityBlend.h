#pragma once

#include "colourspace/ColorSpaceConvertor.h"
#include "operators/BlendPixels.h"

#include <memory>

namespace PXL {

/// Adds the auxiliary band (input 2, one band) to the luminance of an "RGB" image (input 1, three bands).
/// Input 1 is converted to YUV, Y becomes (x g2 + o2) + (Y g1 + o1), rounded, with the gains and offsets of
/// band 1, and the row is converted back to RGB. Output gains and offsets are not applied.
template <class T>
class IntensityBlend final : public BlendPixels<T> {
public:
    IntensityBlend() : BlendPixels<T>("IntensityBlend") {}
    T* ProcessRow(const T* row1, const T* row2, std::uint32_t row) override;
    bool SetWindow(std::uint32_t col0, std::uint32_t col1) override; ///< false before an Init
    bool Reset() override;

protected:
    bool InitOperator() override;

private:
    /// A converter initialised with `input`. Null, with an item that names the conversion and the converter's
    /// own items.
    std::unique_ptr<ColorSpaceConvertor<T>> MakeConvertor(const char* keyword, const char* conversion,
                                                          const ImageInfo& input, std::uint32_t idWhenMissing,
                                                          std::uint32_t idWhenFailed);

    std::unique_ptr<ColorSpaceConvertor<T>> rgbToYuv;
    std::unique_ptr<ColorSpaceConvertor<T>> yuvToRgb;
};

using IntensityBlend8 = IntensityBlend<unsigned char>;
using IntensityBlend16 = IntensityBlend<unsigned short>;

} // namespace PXL
