#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// Tags of one image of a TIFF. Only for little-endian machines.
class TiffDirectory {
public:
    /// Reads the first directory of a little-endian BigTIFF. Empty when it cannot be read.
    [[nodiscard]] static std::optional<TiffDirectory> ReadFirst(const std::string& file);

    /// The first number of a tag, or `otherwise` when it is absent or has no whole numbers.
    [[nodiscard]] std::uint64_t GetNumber(std::uint16_t tag, std::uint64_t otherwise) const;
    /// Sets a tag of whole numbers; `type` is one of tiff.h. In a classic TIFF, TIFF_LONG8 becomes TIFF_LONG.
    void Set(std::uint16_t tag, std::uint16_t type, const std::vector<std::uint64_t>& numbers);
    /// Removes all other tags.
    void Keep(const std::vector<std::uint16_t>& tags);

    /// Its size in a file, an even number of bytes.
    [[nodiscard]] std::size_t CountBytes(bool isBig) const;
    /// Appends the directory, which will lie at `offset` of the file. `next` is the offset of the next one,
    /// or 0.
    void Write(bool isBig, std::uint64_t offset, std::uint64_t next, std::vector<unsigned char>& out) const;

private:
    struct Entry {
        std::uint16_t tag = 0;
        std::uint16_t type = 0;
        std::uint64_t count = 0;
        std::vector<unsigned char> bytes;

        [[nodiscard]] Entry In(bool isBig) const;
    };

    std::vector<Entry> entries; ///< in ascending order of tags
};

} // namespace rasterhost
