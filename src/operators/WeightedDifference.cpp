#include "operators/WeightedDifference.h"

namespace PXL {

template <class T>
bool WeightedDifference<T>::InitOperator() {
    if (!BlendPixels<T>::InitOperator()) return false;
    this->PublishInputMaps();
    return true;
}

template class WeightedDifference<unsigned char>;
template class WeightedDifference<unsigned short>;

} // namespace PXL
