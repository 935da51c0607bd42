#include "operators/ScaledDifference.h"

namespace PXL {

template <class T>
T* ScaledDifference<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->BlendSamples(kernels::SampleBlend::PlainDifference, row1, row2);
}

template class ScaledDifference<unsigned char>;
template class ScaledDifference<unsigned short>;

} // namespace PXL
