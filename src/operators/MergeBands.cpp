#include "operators/MergeBands.h"

#include <algorithm>

namespace PXL {

template <class T>
bool MergeBands<T>::InitOperator() {
    return this->MakeOutput(std::uint64_t{this->input1Bands} + this->input2Bands);
}

template <class T>
T* MergeBands<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->ForEachPixel(
        row1, row2, [bands1 = this->input1Bands, bands2 = this->input2Bands](const T* a, const T* b, T* out) {
            std::copy_n(b, bands2, std::copy_n(a, bands1, out));
        });
}

template class MergeBands<unsigned char>;
template class MergeBands<unsigned short>;

} // namespace PXL
