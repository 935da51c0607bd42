#pragma once

#include "pxl/ImageInfo.h"
#include "pxl/MetadataSupport.h"
#include "pxl/PropertiesStatusSupport.h"
#include "pxl/RowOperatorWindowSupport.h"
#include "pxl/RowTraits.h"

namespace PXL {

/// Turns one row into another; the rules of BinaryRowOperatorBase apply.
template <class Traits, class OutputTraits, class Info>
class UnaryRowOperatorBase : public PropertiesStatusSupport,
                             public RowOperatorWindowSupport,
                             public MetadataSupport {
public:
    using Pixel = typename OutputTraits::Pixel;

    virtual Info GetOutputInfo() = 0;
    virtual Pixel* ProcessRow(const typename Traits::Pixel* input, std::uint32_t row) = 0;
    virtual bool SetWindow(std::uint32_t col0, std::uint32_t col1) = 0;

protected:
    ~UnaryRowOperatorBase() = default;
};

template <class T>
using UnaryRowOperator = UnaryRowOperatorBase<RowTraits<T>, RowTraits<T>, ImageInfo>;

} // namespace PXL
