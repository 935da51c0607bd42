#include "imagery/HeldRows.h"

#include <algorithm>
#include <utility>

namespace imagery {

bool HeldRows::Hold(std::size_t first, std::size_t end, Status& status) {
    const bool goesOn = !strips.empty() && strips.front().first <= first && first <= strips.back().end;
    while (!strips.empty() && (!goesOn || strips.front().end <= first)) {
        spare.push_back(std::move(strips.front().rows));
        strips.pop_front();
    }
    const std::size_t from = strips.empty() ? first : strips.back().end;
    if (from >= end) return true;
    Strip strip{from, end, {}, {}};
    if (!spare.empty()) {
        strip.rows = std::move(spare.back());
        spare.pop_back();
    }
    if (!source.Read(static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(end), strip.rows, status))
        return false;
    const auto columns = static_cast<std::ptrdiff_t>(source.GetColumns());
    for (auto row = strip.rows.valid.begin(); row != strip.rows.valid.end(); row += columns)
        strip.isWhole.push_back(std::find(row, row + columns, static_cast<unsigned char>(0)) ==
                                row + columns);
    strips.push_back(std::move(strip));
    return true;
}

HeldRows::Row HeldRows::Get(std::size_t row) const {
    const auto strip =
        std::find_if(strips.begin(), strips.end(), [row](const Strip& each) { return row < each.end; });
    const std::size_t at = (row - strip->first) * source.GetColumns();
    return {strip->rows.samples.data() + at * source.GetBands(), strip->rows.valid.data() + at,
            strip->isWhole[row - strip->first] != 0};
}

} // namespace imagery
