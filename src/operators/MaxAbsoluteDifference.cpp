#include "operators/MaxAbsoluteDifference.h"

#include "kernels/Store.h"

#include <algorithm>
#include <cstdlib>

namespace PXL {

template <class T>
bool MaxAbsoluteDifference<T>::InitOperator() {
    if (!this->CheckBandsEqual() || !this->MakeOutput(1)) return false;
    this->ReadGainsAndOffsets();
    this->PublishOutputMaps();
    return true;
}

template <class T>
T* MaxAbsoluteDifference<T>::ProcessRow(const T* row1, const T* row2, std::uint32_t) {
    return this->ForEachPixel(
        row1, row2,
        [bands = this->input1Bands, map = this->outputMaps.data()](const T* a, const T* b, T* out) {
            int largest = 0;
            for (std::uint32_t c = 0; c < bands; ++c)
                largest = std::max(largest, std::abs(a[c] - b[c]));
            *out = kernels::StoreRounded<T>(map[0](largest));
        });
}

template class MaxAbsoluteDifference<unsigned char>;
template class MaxAbsoluteDifference<unsigned short>;

} // namespace PXL
