#pragma once

#include "pxl/ImageInfo.h"
#include "pxl/ImageWindowSupport.h"
#include "pxl/MetadataSupport.h"
#include "pxl/PropertiesStatusSupport.h"
#include "pxl/RowTraits.h"

namespace PXL {

/// An image that delivers its pixels one row at a time, pulling the rows that it needs from its inputs.
///
/// - Order of calls: construct, fill `properties`, Init if there is one, GetInfo, SetWindow, GetRow in any
///   order; SetWindow again for another rectangle.
/// - Windows are in columns and rows of the input grid, end values exclusive.
/// - A row is one array of samples: the window's columns from left to right, bands interleaved by pixel. It
///   belongs to the image and is valid until the next call of GetRow, GetNextRow, SetWindow, Init or Reset.
/// - A failure returns false or null and inserts one item of the image at the front of `status`.
/// - Inputs are not owned. One thread uses an image and its inputs at a time.
///
/// Deleted only through a derived class, which declares a virtual destructor where it needs one.
template <class Info, class Row, class Traits>
class ImageBase : public PropertiesStatusSupport, public ImageWindowSupport, public MetadataSupport {
public:
    /// The description of the whole image; complete after Init.
    virtual Info GetInfo() = 0;
    /// A row of the window, by its absolute number. Null when it lies outside or cannot be computed.
    virtual Row GetRow(std::uint32_t row) = 0;
    virtual Row GetNextRow() = 0; ///< the row after the last one read; null if not offered
    /// Sets the window that rows are read from. False when it cannot be served; then no row can be read.
    virtual bool SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1,
                           std::uint32_t row1) = 0;

protected:
    ~ImageBase() = default;
};

template <class T>
using Image = ImageBase<ImageInfo, T*, RowTraits<T>>;

} // namespace PXL
