#include "operators/MaxAbsoluteDifference.h"

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
    if (!this->CanProcess(row1, row2)) return nullptr;
    this->rows.largestDifference(row1, row2, this->outputBuffer.data(), this->windowWidth, this->input1Bands,
                                 this->outputMaps[0]);
    return this->outputBuffer.data();
}

template class MaxAbsoluteDifference<unsigned char>;
template class MaxAbsoluteDifference<unsigned short>;

} // namespace PXL
