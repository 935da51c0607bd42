#pragma once

#include "imagery/RowSource.h"

#include <deque>

namespace imagery {

/// Holds the latest rows of an image, for callers that need several at a time. The image must outlive this.
/// Rows read from the top down are read once.
class HeldRows {
public:
    explicit HeldRows(RowSource& image) : source(image) {}

    [[nodiscard]] RowSource& GetSource() const { return source; }
    /// Makes rows `first` to `end` - 1 available; those above them may be dropped. False with an item.
    [[nodiscard]] bool Hold(std::size_t first, std::size_t end, Status& status);

    /// A row that the last call of Hold asked for; valid until the next call.
    struct Row {
        const unsigned short* samples = nullptr; ///< interleaved by pixel
        const unsigned char* valid = nullptr;    ///< a byte per pixel, 0 without data
        bool isWhole = true;                     ///< all pixels have data
    };
    [[nodiscard]] Row Get(std::size_t row) const;

private:
    struct Strip {
        std::size_t first = 0, end = 0;
        SampleRows rows;
        std::vector<char> isWhole; ///< per row
    };
    RowSource& source;
    std::deque<Strip> strips; ///< from top to bottom
    std::vector<SampleRows> spare;
};

} // namespace imagery
