#include "operators/WeightedDifference.h"

namespace PXL {

template <class T>
bool WeightedDifference<T>::InitOperator() {
    if (!BlendPixels<T>::InitOperator()) return false;
    this->PublishInputMaps();
    return true;
}

template <class T>
T* WeightedDifference<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->BlendSamples(kernels::SampleBlend::Difference, row1, row2);
}

template class WeightedDifference<unsigned char>;
template class WeightedDifference<unsigned short>;

} // namespace PXL
