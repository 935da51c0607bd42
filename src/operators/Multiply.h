#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Multiplies: ((b g2 + o2) (a g1 + o1)) gOut + oOut, truncated; 0 if that is not finite.
template <class T>
class Multiply final : public BlendPixels<T> {
public:
    Multiply() : BlendPixels<T>("Multiply", kernels::SampleBlend::Product) {}
};

using Multiply8 = Multiply<unsigned char>;
using Multiply16 = Multiply<unsigned short>;

} // namespace PXL
