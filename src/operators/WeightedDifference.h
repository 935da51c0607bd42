#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// Subtracts: ((a g1 + o1) - (b g2 + o2)) gOut + oOut, rounded.
template <class T>
class WeightedDifference final : public BlendPixels<T> {
public:
    WeightedDifference() : BlendPixels<T>("WeightedDifference", kernels::SampleBlend::Difference) {}

protected:
    bool InitOperator() override; ///< also publishes the gains and offsets of the inputs
};

using WeightedDifference8 = WeightedDifference<unsigned char>;
using WeightedDifference16 = WeightedDifference<unsigned short>;

} // namespace PXL
