#pragma once

#include "hostkit/SampleBlock.h"

#include <cstdint>
#include <optional>
#include <string>

namespace rasterhost {

/// Watches the edge of an image while its rows pass by, for pixels that are 0 in all bands: many of them look
/// like a collar without data that nobody declared.
class CollarWatch {
public:
    explicit CollarWatch(const KOVA::Tessara::Pixmere::RasterInfo& image);

    /// Rows may come again, as those between two windows do; a row counts once. Blocks come from the top.
    void See(const hostkit::SampleBlock& block);

    /// The share of the edge that was 0, when that is enough to speak of.
    [[nodiscard]] std::optional<double> GetShareOfZeros() const;

private:
    void SeePixel(const unsigned char* pixel);

    KOVA::Tessara::Pixmere::RasterInfo info;
    std::uint32_t nextRow = 0;
    std::uint64_t seen = 0;
    std::uint64_t zeros = 0;
};

} // namespace rasterhost
