#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Adds: ((a g1 + o1) + (b g2 + o2)) gOut + oOut, truncated; 0 if that is not finite.
template <class T>
class Sum final : public BlendPixels<T> {
public:
    Sum() : BlendPixels<T>("Sum", kernels::SampleBlend::Sum) {}
};

using Sum8 = Sum<unsigned char>;
using Sum16 = Sum<unsigned short>;

} // namespace PXL
