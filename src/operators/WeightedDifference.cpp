#include "operators/WeightedDifference.h"

#include "kernels/Store.h"

namespace PXL {

using kernels::LinearMap;

template <class T>
bool WeightedDifference<T>::InitOperator() {
    if (!BlendPixels<T>::InitOperator()) return false;
    this->PublishInputMaps();
    return true;
}

template <class T>
T* WeightedDifference<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->ForEachSample(
        row1, row2,
        [](double a, double b, const LinearMap& first, const LinearMap& second, const LinearMap& result) {
            return kernels::StoreRounded<T>(result(first(a) - second(b)));
        });
}

template class WeightedDifference<unsigned char>;
template class WeightedDifference<unsigned short>;

} // namespace PXL
