#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Divides: ((a g1 + o1) / (b g2 + o2)) gOut + oOut, truncated; 0 if that is not finite, as for a divisor of
/// 0.
template <class T>
class Divide final : public BlendPixels<T> {
public:
    Divide() : BlendPixels<T>("Divide", kernels::SampleBlend::Quotient) {}
};

using Divide8 = Divide<unsigned char>;
using Divide16 = Divide<unsigned short>;

} // namespace PXL
