#pragma once

#include "imagery/RowSource.h"

#include <deque>

namespace imagery {

/// The latest rows of an image, for those who look at more than one at a time. The image outlives this. Rows
/// that are asked for from the top on are read once.
class HeldRows {
public:
    explicit HeldRows(RowSource& image) : source(image) {}

    [[nodiscard]] RowSource& GetSource() const { return source; }
    /// Has the rows `first` to `end` - 1 at hand; those above them may go. False with an item.
    [[nodiscard]] bool Hold(std::size_t first, std::size_t end, Status& status);

    /// A row until the next call of Hold, which has asked for it.
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
        std::vector<char> isWhole; ///< a row
    };
    RowSource& source;
    std::deque<Strip> strips; ///< one below another
    std::vector<SampleRows> spare;
};

} // namespace imagery
