#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Copies input 1, with a fill colour wherever the mask (input 2, one band) equals the fill value. Gains and
/// offsets are read and published but not applied.
///
/// "FillValue" (default 0): a value above the pixel range matches nothing. "FillColor": one whole number is a
/// packed colour with the first band in the low byte; bands after the third repeat the third. A list with ","
/// and ";" gives the bands one by one; bands that are not listed repeat the first. Values are limited to the
/// pixel range.
template <class T>
class Mask final : public BlendPixels<T> {
public:
    Mask() : BlendPixels<T>("Mask") {}
    T* ProcessRow(const T* row1, const T* row2, std::uint32_t row) override;
    bool Reset() override;

protected:
    bool InitOperator() override;

private:
    std::uint32_t fillValue = 0;
    std::vector<T> fillColor; ///< one sample per band of input 1
};

using Mask8 = Mask<unsigned char>;
using Mask16 = Mask<unsigned short>;

} // namespace PXL
