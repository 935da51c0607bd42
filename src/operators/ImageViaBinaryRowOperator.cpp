#include "operators/ImageViaBinaryRowOperator.h"

#include "fundament/Text.h"

#include <algorithm>

namespace PXL {

using Fundament::FormatString;

template <class Input1, class Input2, class Operator>
ImageViaBinaryRowOperator<Input1, Input2, Operator>::ImageViaBinaryRowOperator() {
    ImageViaBinaryRowOperator::Reset();
}

template <class Input1, class Input2, class Operator>
ImageViaBinaryRowOperator<Input1, Input2, Operator>::~ImageViaBinaryRowOperator() = default;

template <class Input1, class Input2, class Operator>
bool ImageViaBinaryRowOperator<Input1, Input2, Operator>::Reset() {
    this->status.Reset(0, {}, "ImageViaBinaryRowOperator", {});
    input1 = nullptr;
    input2 = nullptr;
    outputRows = 0;
    currentRow = 0;
    windowed = false;
    return true;
}

template <class Input1, class Input2, class Operator>
Fundament::PropertyLookUp& ImageViaBinaryRowOperator<Input1, Input2, Operator>::GetMetadata() {
    return rowOperator ? rowOperator->GetMetadata() : this->metadata;
}

template <class Input1, class Input2, class Operator>
bool ImageViaBinaryRowOperator<Input1, Input2, Operator>::Init(Input1* image1, Input2* image2,
                                                               Operator* binaryOperator, bool sampled2) {
    windowed = false;
    if (!image1 || !image2) {
        this->status.Insert(BinaryRowImageStatus::InputsMissing, "one of the input images not specified");
        return false;
    }
    if (!binaryOperator) {
        this->status.Insert(BinaryRowImageStatus::OperatorMissing, "Binary Row-operator not specified");
        return false;
    }
    Reset();
    input1 = image1;
    input2 = image2;
    rowOperator = binaryOperator;
    outputInfo = rowOperator->GetOutputInfo();
    input2Info = input2->GetInfo();
    input2Sampled = sampled2;
    outputRows = outputInfo.rows;
    return true;
}

template <class Input1, class Input2, class Operator>
bool ImageViaBinaryRowOperator<Input1, Input2, Operator>::Append(const Fundament::Status& reasons) {
    this->status.Append(reasons);
    const std::uint32_t count = this->status.GetCount();
    this->status.Keep(count - std::min(count, this->mostItems), this->mostItems);
    return false;
}

template <class Input1, class Input2, class Operator>
bool ImageViaBinaryRowOperator<Input1, Input2, Operator>::SetWindow(std::uint32_t col0, std::uint32_t row0,
                                                                    std::uint32_t col1, std::uint32_t row1) {
    windowed = false;
    if (!input1 || !input2) {
        this->InsertOnce(BinaryRowImageStatus::InputsMissing, "one of the input images not specified");
        return false;
    }
    windowFirstRow = row0;
    this->firstColumn = 0;
    this->firstRow = 0;
    this->endColumn = outputInfo.cols;
    this->endRow = outputRows;
    if (!input1->SetWindow(col0, row0, col1, row1)) return Append(input1->status);
    const bool windowed2 = input2Sampled ? input2->SetWindow(0, 0, input2Info.cols, input2Info.rows)
                                         : input2->SetWindow(col0, row0, col1, row1);
    if (!windowed2) return Append(input2->status);
    if (!rowOperator->SetWindow(col0, col1)) return Append(rowOperator->status);
    const std::uint32_t width1 = col1 > col0 ? col1 - col0 : 0;
    const std::uint32_t width2 = input2Sampled ? input2Info.cols : width1;
    const std::uint32_t width = rowOperator->endColumn - rowOperator->firstColumn;
    if (width > std::min(width1, width2)) {
        this->InsertOnce(BinaryRowImageStatus::WindowDoesNotFit,
                         FormatString("the window is %u columns wide, but rows of the input images have %u "
                                      "and %u",
                                      width, width1, width2));
        return false;
    }
    windowed = true;
    return true;
}

template <class Input1, class Input2, class Operator>
auto ImageViaBinaryRowOperator<Input1, Input2, Operator>::GetInputRows(std::uint32_t row) -> InputRows {
    currentRow = row;
    if (row >= outputRows) {
        this->InsertOnce(BinaryRowImageStatus::BeyondEnd, "requesting beyond end of image");
        return {};
    }
    if (!windowed) {
        this->InsertOnce(BinaryRowImageStatus::NoWindow,
                         "no window is set: call SetWindow before asking for rows");
        return {};
    }
    const std::uint32_t row2 = input2Sampled ? row - windowFirstRow : row;
    if (input2Sampled && (row < windowFirstRow || row2 >= input2Info.rows)) {
        this->InsertOnce(BinaryRowImageStatus::RowNotCovered,
                         FormatString("row %u is outside the rows that the second input image covers (%u "
                                      "from row %u)",
                                      row, input2Info.rows, windowFirstRow));
        return {};
    }
    currentRow = row + 1; // even if an input has no such row
    InputRows rows;
    rows.row1 = input1->GetRow(row);
    if (rows.row1) rows.row2 = input2->GetRow(row2);
    if (!rows.row2) ReportMissing(rows.row1 ? "second input image" : "first input image", row);
    return rows;
}

template <class Input1, class Input2, class Operator>
auto ImageViaBinaryRowOperator<Input1, Input2, Operator>::GetRow(std::uint32_t row) -> T* {
    const InputRows rows = GetInputRows(row);
    if (!rows.row2) return nullptr;
    T* result = rowOperator->ProcessRow(rows.row1, rows.row2, row);
    if (!result) ReportMissing("row operator", row);
    return result;
}

template <class Input1, class Input2, class Operator>
void ImageViaBinaryRowOperator<Input1, Input2, Operator>::ReportMissing(const char* who, std::uint32_t row) {
    this->InsertOnce(BinaryRowImageStatus::NoInputRow, FormatString("the %s delivers no row %u", who, row));
}

template class ImageViaBinaryRowOperator<Image<unsigned char>, Image<unsigned char>,
                                         BlendPixels<unsigned char>>;
template class ImageViaBinaryRowOperator<Image<unsigned short>, Image<unsigned short>,
                                         BlendPixels<unsigned short>>;

} // namespace PXL
