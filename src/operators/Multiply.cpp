#include "operators/Multiply.h"

namespace PXL {

template <class T>
T* Multiply<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->BlendSamples(kernels::SampleBlend::Product, row1, row2);
}

template class Multiply<unsigned char>;
template class Multiply<unsigned short>;

} // namespace PXL
