#include "rasterhost/reading/ZeroCollar.h"

#include <algorithm>

namespace rasterhost {

void ZeroCollar::Finder::AddRow(const unsigned char* samples) {
    const bool isFirstRow = rowStarts.empty();
    const auto isZero = [&](std::uint32_t column) {
        const unsigned char* pixel = samples + column * pixelBytes;
        return std::all_of(pixel, pixel + pixelBytes, [](unsigned char byte) { return byte == 0; });
    };
    std::size_t above = isFirstRow ? 0 : rowStarts.back();
    const std::size_t aboveEnd = runs.size();
    rowStarts.push_back(runs.size());
    for (std::uint32_t column = 0; column < columns; ++column) {
        if (!isZero(column)) continue;
        const std::uint32_t first = column;
        while (column < columns && isZero(column))
            ++column;
        const auto number = static_cast<std::uint32_t>(runs.size());
        runs.push_back({first, column, number, isFirstRow || first == 0 || column == columns});
        while (above < aboveEnd && runs[above].end <= first)
            ++above;
        for (std::size_t other = above; other < aboveEnd && runs[other].first < column; ++other)
            Join(static_cast<std::uint32_t>(other), number);
    }
}

std::uint32_t ZeroCollar::Finder::Root(std::uint32_t run) {
    while (runs[run].parent != run) {
        runs[run].parent = runs[runs[run].parent].parent;
        run = runs[run].parent;
    }
    return run;
}

void ZeroCollar::Finder::Join(std::uint32_t a, std::uint32_t b) {
    const std::uint32_t rootA = Root(a), rootB = Root(b);
    if (rootA == rootB) return;
    LabelledRun& kept = runs[std::min(rootA, rootB)];
    LabelledRun& joined = runs[std::max(rootA, rootB)];
    kept.isAtEdge = kept.isAtEdge || joined.isAtEdge;
    joined.parent = std::min(rootA, rootB);
}

ZeroCollar ZeroCollar::Finder::Finish() {
    if (!rowStarts.empty())
        for (std::size_t last = rowStarts.back(); last < runs.size(); ++last)
            runs[Root(static_cast<std::uint32_t>(last))].isAtEdge = true;
    ZeroCollar collar;
    rowStarts.push_back(runs.size());
    for (std::size_t row = 0; row + 1 < rowStarts.size(); ++row) {
        collar.rowStarts.push_back(collar.runs.size());
        for (std::size_t run = rowStarts[row]; run < rowStarts[row + 1]; ++run) {
            if (!runs[Root(static_cast<std::uint32_t>(run))].isAtEdge) continue;
            collar.runs.push_back({runs[run].first, runs[run].end});
            collar.pixels += runs[run].end - runs[run].first;
        }
    }
    collar.rowStarts.push_back(collar.runs.size());
    return collar;
}

void ZeroCollar::Clear(const hostkit::PixelRect& rect, unsigned char* valid) const {
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row, valid += rect.GetColumns())
        for (std::size_t run = rowStarts[row]; run < rowStarts[row + 1]; ++run) {
            const std::uint32_t first = std::max(runs[run].first, rect.col0);
            const std::uint32_t end = std::min(runs[run].end, rect.col1);
            if (first < end)
                std::fill(valid + (first - rect.col0), valid + (end - rect.col0),
                          static_cast<unsigned char>(0));
        }
}

} // namespace rasterhost
