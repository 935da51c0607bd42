#pragma once

#include "operators/BlendPixels.h"
#include "pxl/ImageBase.h"

namespace PXL {

/// Ids of the items that ImageViaBinaryRowOperator records.
namespace BinaryRowImageStatus {
inline constexpr std::uint32_t InputsMissing = 0x5001;
inline constexpr std::uint32_t OperatorMissing = 0x5002;
inline constexpr std::uint32_t BeyondEnd = 0x5003;
inline constexpr std::uint32_t WindowDoesNotFit = 0x5010;
inline constexpr std::uint32_t NoWindow = 0x5011;
inline constexpr std::uint32_t RowNotCovered = 0x5012;
inline constexpr std::uint32_t NoInputRow = 0x5013;
} // namespace BinaryRowImageStatus

/// An image without pixels of its own: each row is computed from two input images by a binary row operator.
/// The creator has initialised the operator with their descriptions. Inputs and operator must outlive this
/// image and are not owned.
///
/// Input 2 either gets the same window as input 1, or is "sampled": it covers exactly the window's rows, its
/// row 0 is the window's first row, and its window is its whole extent.
template <class Input1, class Input2, class Operator>
class ImageViaBinaryRowOperator final
    : public ImageBase<ImageInfo, typename Operator::Pixel*, RowTraits<typename Operator::Pixel>> {
public:
    using T = typename Operator::Pixel;

    ImageViaBinaryRowOperator();
    ImageViaBinaryRowOperator(const ImageViaBinaryRowOperator&) = delete;
    ImageViaBinaryRowOperator& operator=(const ImageViaBinaryRowOperator&) = delete;

    Fundament::PropertyLookUp& GetMetadata() override;  ///< the operator's, once there is one
    ImageInfo GetInfo() override { return outputInfo; } ///< the operator's output, as of Init

    /// `row` counts from the top of the output image. Null, with an item, from its last row on, without a
    /// window, for rows that a sampled input 2 does not cover, and when an input has no row.
    T* GetRow(std::uint32_t row) override;
    /// The input rows from which GetRow computes its row. If GetRow would fail for an input, that row is
    /// null, with the same items; row2 is then null too.
    struct InputRows {
        const T* row1 = nullptr;
        const T* row2 = nullptr;
    };
    InputRows GetInputRows(std::uint32_t row);
    /// The row after the last one read. After a row that this image itself refused, the same row again; not
    /// if an input or the operator had no row.
    T* GetNextRow() override { return GetRow(currentRow); }

    /// Sets the window of both inputs and of the operator. If one refuses, so does this, with its items. Also
    /// fails if a row of an input would be narrower than the operator's window. Rows can be read only after a
    /// success.
    bool SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override;

    /// After a failure, inputs and operator stay bound and there is no window.
    virtual bool Init(Input1* image1, Input2* image2, Operator* binaryOperator, bool sampled2);
    virtual bool Reset(); ///< releases the inputs; keeps the operator
    virtual ~ImageViaBinaryRowOperator();

private:
    bool Append(const Fundament::Status& reasons); ///< always false
    void ReportMissing(const char* who, std::uint32_t row);

    Input1* input1 = nullptr;
    Input2* input2 = nullptr;
    Operator* rowOperator = nullptr;
    ImageInfo input2Info;
    ImageInfo outputInfo;
    bool input2Sampled = false;
    bool windowed = false;
    std::uint32_t windowFirstRow = 0;
    std::uint32_t outputRows = 0;
    std::uint32_t currentRow = 0;
};

template <class T>
using BinaryRowImage = ImageViaBinaryRowOperator<Image<T>, Image<T>, BlendPixels<T>>;
using BinaryRowImage8 = BinaryRowImage<unsigned char>;
using BinaryRowImage16 = BinaryRowImage<unsigned short>;

} // namespace PXL
