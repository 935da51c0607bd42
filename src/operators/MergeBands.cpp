#include "operators/MergeBands.h"

namespace PXL {

template <class T>
bool MergeBands<T>::InitOperator() {
    return this->MakeOutput(std::uint64_t{this->input1Bands} + this->input2Bands);
}

template <class T>
T* MergeBands<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    if (!this->CanProcess(row1, row2)) return nullptr;
    this->rows.merge(row1, this->input1Bands, row2, this->input2Bands, this->outputBuffer.data(),
                     this->windowWidth);
    return this->outputBuffer.data();
}

template class MergeBands<unsigned char>;
template class MergeBands<unsigned short>;

} // namespace PXL
