#pragma once

#include "pxl/ImageInfo.h"
#include "pxl/MetadataSupport.h"
#include "pxl/PropertiesStatusSupport.h"
#include "pxl/RowOperatorWindowSupport.h"
#include "pxl/RowTraits.h"

namespace PXL {

/// Turns a pair of rows into one row. It reads no input itself and owns only the row that it returns.
///
/// - Rows hold only the window's pixels, from sample 0 on, bands interleaved by pixel. The caller guarantees
///   that rows are as wide as the window and have the bands given at initialisation.
/// - The returned row belongs to the operator and is valid until the next ProcessRow, initialisation or
///   destruction.
/// - Before a successful initialisation and SetWindow, ProcessRow returns null.
/// - `row` is informative; it is not used for addressing.
///
/// Deleted only through a derived class, which declares a virtual destructor.
template <class Traits1, class Traits2, class OutputTraits, class Info>
class BinaryRowOperatorBase : public PropertiesStatusSupport,
                              public RowOperatorWindowSupport,
                              public MetadataSupport {
public:
    using Pixel = typename OutputTraits::Pixel;

    virtual Info GetOutputInfo() = 0; ///< the description of the output, after initialisation
    /// The output row: the window's columns x output bands.
    virtual Pixel* ProcessRow(const typename Traits1::Pixel* row1, const typename Traits2::Pixel* row2,
                              std::uint32_t row) = 0;
    /// Sets the columns of the window; see SetColumns. False when the operator cannot serve them.
    virtual bool SetWindow(std::uint32_t col0, std::uint32_t col1) = 0;

protected:
    ~BinaryRowOperatorBase() = default;
};

template <class T>
using BinaryRowOperator = BinaryRowOperatorBase<RowTraits<T>, RowTraits<T>, RowTraits<T>, ImageInfo>;

} // namespace PXL
