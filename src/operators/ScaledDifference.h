#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Subtracts the samples as they are: (a - b) gOut + oOut, rounded.
template <class T>
class ScaledDifference final : public BlendPixels<T> {
public:
    ScaledDifference() : BlendPixels<T>("ScaledDifference") {}
    T* ProcessRow(const T* row1, const T* row2, std::uint32_t row) override;
};

using ScaledDifference8 = ScaledDifference<unsigned char>;
using ScaledDifference16 = ScaledDifference<unsigned short>;

} // namespace PXL
