#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Subtracts the samples without input gains: (a - b) gOut + oOut, rounded.
template <class T>
class ScaledDifference final : public BlendPixels<T> {
public:
    ScaledDifference() : BlendPixels<T>("ScaledDifference", kernels::SampleBlend::PlainDifference) {}
};

using ScaledDifference8 = ScaledDifference<unsigned char>;
using ScaledDifference16 = ScaledDifference<unsigned short>;

} // namespace PXL
