#include "operators/ScaledDifference.h"

#include "kernels/Store.h"

namespace PXL {

using kernels::LinearMap;

template <class T>
T* ScaledDifference<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->ForEachSample(
        row1, row2, [](double a, double b, const LinearMap&, const LinearMap&, const LinearMap& result) {
            return kernels::StoreRounded<T>(result(a - b));
        });
}

template class ScaledDifference<unsigned char>;
template class ScaledDifference<unsigned short>;

} // namespace PXL
