#include "operators/Divide.h"

namespace PXL {

template <class T>
T* Divide<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->BlendSamples(kernels::SampleBlend::Quotient, row1, row2);
}

template class Divide<unsigned char>;
template class Divide<unsigned short>;

} // namespace PXL
