#include "operators/Multiply.h"

#include "kernels/Store.h"

namespace PXL {

using kernels::LinearMap;

template <class T>
T* Multiply<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->ForEachSample(
        row1, row2,
        [](double a, double b, const LinearMap& first, const LinearMap& second, const LinearMap& result) {
            return kernels::StoreTruncatedFinite<T>(result(second(b) * first(a)));
        });
}

template class Multiply<unsigned char>;
template class Multiply<unsigned short>;

} // namespace PXL
