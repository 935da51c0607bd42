#include "imagery/ZeroCollar.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace imagery {

namespace {

/// The first byte that is not 0.
const unsigned char* SkipZeros(const unsigned char* at, const unsigned char* end) {
    std::uint64_t words[8];
    for (; static_cast<std::size_t>(end - at) >= sizeof words; at += sizeof words) {
        std::memcpy(words, at, sizeof words);
        std::uint64_t any = 0; // all words at once, so that the compiler makes vectors
        for (const std::uint64_t word : words)
            any |= word;
        if (any != 0) break;
    }
    return std::find_if(at, end, [](unsigned char byte) { return byte != 0; });
}

} // namespace

/// The first run of zeros from a column on: its first and end column, both `columns` if there is none.
std::pair<std::uint32_t, std::uint32_t> ZeroCollar::Finder::NextRun(const unsigned char* samples,
                                                                    std::uint32_t column) const {
    constexpr std::uint32_t mostOneByOne = 64;
    const unsigned char* end = samples + columns * pixelBytes;
    const auto pixelAt = [&](const void* byte) {
        return static_cast<std::uint32_t>(
            static_cast<std::size_t>(static_cast<const unsigned char*>(byte) - samples) / pixelBytes);
    };
    while (column < columns) {
        // Where pixels hold a zero byte, as dark ones of 16 bits do, looking for the next byte is slower.
        for (const std::uint32_t stop = column + std::min(mostOneByOne, columns - column); column < stop;
             ++column) {
            const unsigned char* pixel = samples + column * pixelBytes;
            if (std::all_of(pixel, pixel + pixelBytes, [](unsigned char byte) { return byte == 0; }))
                return {column, pixelAt(SkipZeros(pixel, end))};
        }
        const unsigned char* at = samples + column * pixelBytes;
        const void* zero = std::memchr(at, 0, static_cast<std::size_t>(end - at));
        if (!zero) break;
        column = pixelAt(zero);
    }
    return {columns, columns};
}

void ZeroCollar::Finder::AddRow(const unsigned char* samples) {
    const bool isFirstRow = rowStarts.empty();
    std::size_t above = isFirstRow ? 0 : rowStarts.back();
    const std::size_t aboveEnd = runs.size();
    rowStarts.push_back(runs.size());
    for (auto [first, end] = NextRun(samples, 0); first < columns;
         std::tie(first, end) = NextRun(samples, end)) {
        const auto number = static_cast<std::uint32_t>(runs.size());
        runs.push_back({first, end, number, isFirstRow || first == 0 || end == columns});
        while (above < aboveEnd && runs[above].end <= first)
            ++above;
        for (std::size_t other = above; other < aboveEnd && runs[other].first < end; ++other)
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
    ZeroCollar collar(columns);
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

namespace {

/// Seven bits per byte, the lowest first. All bytes but the last have the eighth bit set.
void AddNumber(std::uint64_t number, std::vector<unsigned char>& bytes) {
    for (; number >= 0x80; number >>= 7)
        bytes.push_back(static_cast<unsigned char>(number | 0x80));
    bytes.push_back(static_cast<unsigned char>(number));
}

/// Encodes a difference so that small magnitudes of either sign give small numbers.
void AddDifference(std::uint32_t from, std::uint32_t to, std::vector<unsigned char>& bytes) {
    AddNumber(to >= from ? std::uint64_t{to - from} << 1 : (std::uint64_t{from - to} << 1) - 1, bytes);
}

/// Reads numbers one after another. After a missing or too large number, all further reads fail.
class NumberReader {
public:
    explicit NumberReader(std::span<const unsigned char> packed) : bytes(packed) {}

    [[nodiscard]] std::uint64_t Next() {
        std::uint64_t number = 0;
        for (unsigned shift = 0; shift < 42; shift += 7) {
            if (at == bytes.size()) break;
            const unsigned char byte = bytes[at++];
            number |= std::uint64_t{byte & 0x7Fu} << shift;
            if (byte < 0x80) return number;
        }
        hasFailed = true;
        return 0;
    }
    /// A number stored as its difference from `from`, up or down.
    [[nodiscard]] std::int64_t NextFrom(std::uint32_t from) {
        const std::uint64_t number = Next();
        const auto difference = static_cast<std::int64_t>((number + 1) >> 1);
        return std::int64_t{from} + (number % 2 == 0 ? difference : -difference);
    }
    [[nodiscard]] bool HasFailed() const { return hasFailed; }
    [[nodiscard]] bool IsAtEnd() const { return at == bytes.size(); }

private:
    std::span<const unsigned char> bytes;
    std::size_t at = 0;
    bool hasFailed = false;
};

} // namespace

std::vector<unsigned char> ZeroCollar::ToBytes() const {
    std::vector<unsigned char> bytes;
    std::span<const Run> above;
    for (std::size_t row = 0; row + 1 < rowStarts.size(); ++row) {
        const std::span own = std::span(runs).subspan(rowStarts[row], rowStarts[row + 1] - rowStarts[row]);
        AddNumber(own.size(), bytes);
        for (std::size_t i = 0; i < own.size(); ++i) {
            const Run before = i < above.size() ? above[i] : Run{0, 0};
            AddDifference(before.first, own[i].first, bytes);
            AddDifference(before.end, own[i].end, bytes);
        }
        above = own;
    }
    return bytes;
}

std::optional<ZeroCollar> ZeroCollar::FromBytes(std::span<const unsigned char> bytes, std::uint32_t columns,
                                                std::uint32_t rows) {
    if (bytes.size() < rows) return std::nullopt; // a row has at least one byte
    NumberReader numbers(bytes);
    ZeroCollar collar(columns);
    collar.rowStarts.push_back(0);
    std::size_t aboveStart = 0, aboveEnd = 0;
    for (std::uint32_t row = 0; row < rows; ++row) {
        const std::size_t start = collar.runs.size();
        const std::uint64_t count = numbers.Next();
        std::int64_t last = -1; // the runs of a row do not touch
        for (std::uint64_t i = 0; i < count; ++i) {
            const Run before = aboveStart + i < aboveEnd ? collar.runs[aboveStart + i] : Run{0, 0};
            const std::int64_t first = numbers.NextFrom(before.first), end = numbers.NextFrom(before.end);
            if (numbers.HasFailed() || first <= last || end <= first || end > std::int64_t{columns})
                return std::nullopt;
            collar.runs.push_back({static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(end)});
            collar.pixels += static_cast<std::uint64_t>(end - first);
            last = end;
        }
        aboveStart = start;
        aboveEnd = collar.runs.size();
        collar.rowStarts.push_back(aboveEnd);
    }
    if (numbers.HasFailed() || !numbers.IsAtEnd()) return std::nullopt;
    return collar;
}

} // namespace imagery
