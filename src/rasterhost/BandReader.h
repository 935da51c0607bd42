#pragma once

#include "hostkit/SampleBlock.h"
#include "rasterhost/HostStatus.h"
#include "rasterhost/SourceBand.h"

#include <cstdint>
#include <vector>

namespace rasterhost {

/// Reads bands of one size side by side. Not for two threads at a time.
class BandReader {
public:
    /// All of them outlive the reader; `sampleBits` are those of a sample read, 8 or 16.
    BandReader(const std::vector<SourceBand>& sourceBands, const SampleOptions& sampleOptions,
               std::uint32_t sampleBits)
        : bands(sourceBands), options(sampleOptions), bits(sampleBits) {}

    /// Reads a rectangle of all bands, interleaved by pixel and packed.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) const;
    /// Tells by the bands' values and masks which pixels have data in all: a byte a pixel, not 0 where they
    /// have. `samples` are those that Read gave for the same rectangle.
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) const;

private:
    bool ReadBands(const hostkit::PixelRect& rect, std::size_t first, std::size_t end, unsigned char* out,
                   Status& status) const;
    bool ReadScaled(const hostkit::PixelRect& rect, std::size_t band, unsigned char* out,
                    Status& status) const;
    bool CheckSigns(const hostkit::PixelRect& rect, std::size_t first, std::size_t end,
                    const unsigned char* samples, Status& status) const;

    const std::vector<SourceBand>& bands;
    const SampleOptions& options;
    std::uint32_t bits;
};

} // namespace rasterhost
