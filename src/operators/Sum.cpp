#include "operators/Sum.h"

namespace PXL {

template <class T>
T* Sum<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->BlendSamples(kernels::SampleBlend::Sum, row1, row2);
}

template class Sum<unsigned char>;
template class Sum<unsigned short>;

} // namespace PXL
