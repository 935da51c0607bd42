#include "operators/Sum.h"

#include "kernels/Store.h"

namespace PXL {

using kernels::LinearMap;

template <class T>
T* Sum<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->ForEachSample(
        row1, row2,
        [](double a, double b, const LinearMap& first, const LinearMap& second, const LinearMap& result) {
            return kernels::StoreTruncatedFinite<T>(result(first(a) + second(b)));
        });
}

template class Sum<unsigned char>;
template class Sum<unsigned short>;

} // namespace PXL
