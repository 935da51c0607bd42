#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Writes one band: the largest |a - b| of all bands of the pixel, times gOut plus oOut, rounded.
template <class T>
class MaxAbsoluteDifference final : public BlendPixels<T> {
public:
    MaxAbsoluteDifference() : BlendPixels<T>("MaxAbsoluteDifference") {}
    T* ProcessRow(const T* row1, const T* row2, std::uint32_t row) override;

protected:
    bool InitOperator() override;
};

using MaxAbsoluteDifference8 = MaxAbsoluteDifference<unsigned char>;
using MaxAbsoluteDifference16 = MaxAbsoluteDifference<unsigned short>;

} // namespace PXL
