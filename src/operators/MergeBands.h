#pragma once

#include "operators/BlendPixels.h"

namespace PXL {

/// The bands of input 1 followed by those of input 2, unchanged. Inputs may have any number of bands. Gains
/// and offsets are not used.
template <class T>
class MergeBands final : public BlendPixels<T> {
public:
    MergeBands() : BlendPixels<T>("MergeBands") {}
    T* ProcessRow(const T* row1, const T* row2, std::uint32_t row) override;

protected:
    bool InitOperator() override;
};

using MergeBands8 = MergeBands<unsigned char>;
using MergeBands16 = MergeBands<unsigned short>;

} // namespace PXL
