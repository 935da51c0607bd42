#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// Tags of one image of a TIFF, on machines whose bytes are in the order of little-endian files.
class TiffDirectory {
public:
    /// The first directory of a little-endian BigTIFF. None when it cannot be read.
    [[nodiscard]] static std::optional<TiffDirectory> ReadFirst(const std::string& file);

    /// The first number of a tag, or `otherwise` where it is absent or holds no whole numbers.
    [[nodiscard]] std::uint64_t GetNumber(std::uint16_t tag, std::uint64_t otherwise) const;
    /// Sets a tag of whole numbers, of a type of tiff.h. In a classic file TIFF_LONG8 becomes TIFF_LONG.
    void Set(std::uint16_t tag, std::uint16_t type, const std::vector<std::uint64_t>& numbers);
    /// Removes all other tags.
    void Keep(const std::vector<std::uint16_t>& tags);

    /// What it takes in a file, an even number of bytes.
    [[nodiscard]] std::size_t CountBytes(bool isBig) const;
    /// Appends it, to lie at `offset` of the file; `next` is where the next one lies, or 0.
    void Write(bool isBig, std::uint64_t offset, std::uint64_t next, std::vector<unsigned char>& out) const;

private:
    struct Entry {
        std::uint16_t tag = 0;
        std::uint16_t type = 0;
        std::uint64_t count = 0;
        std::vector<unsigned char> bytes;

        [[nodiscard]] Entry In(bool isBig) const;
    };

    std::vector<Entry> entries; ///< by tag
};

} // namespace rasterhost
