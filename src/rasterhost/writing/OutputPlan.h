#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputFormat.h"

#include <cpl_string.h>

#include <cstdint>

namespace rasterhost {

/// How the output will be made. Decided once; checks, estimates, windows and writing all ask this.
struct OutputPlan {
    OutputFormat format;
    imagery::OutputRules rules;
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint32_t bits = 0; ///< of a sample in the file, 8 or 16
    int threads = 1;        ///< that compress, where GDAL does it
    /// Creation options of the format: those asked for, and before them those that keep every sample, unless
    /// the request says how good it wants them.
    CPLStringList options;
    /// Those of the file that the pixels are written into as they are fused: the same and what they leave
    /// open, or those of a GeoTIFF to copy from.
    CPLStringList pixelOptions;
    /// The file is a stretched copy of 8 bits of the pixels that are fused (Picture.h).
    bool isPicture = false;
    bool writesCog = false;    ///< a COG whose pixels go into place as they are fused (CogWriter.h)
    bool writesTiff = false;   ///< that file is a GeoTIFF
    bool isCompressed = false; ///< and compressed as it is written
    /// Of that file's blocks. Windows are best whole rows of them, and have to be where the layout has tiles.
    std::uint32_t blockRows = 1;
    imagery::OutputLayout layout; ///< how it takes the pixels of a window

    /// True when the image is fused into another file and copied from that.
    [[nodiscard]] bool IsCopied() const { return format.isCopied && !writesCog; }
    [[nodiscard]] std::size_t GetPixelBytes() const { return std::size_t{rules.GetFileBands()} * (bits / 8); }
    [[nodiscard]] std::uint64_t GetBytes() const { ///< of all pixels, before they are compressed
        return std::uint64_t{columns} * rows * GetPixelBytes();
    }
};

/// How the file will mark pixels without data: by the nodata value of the request or of the first input that
/// has one, by a last band where the request says so, else by a mask.
[[nodiscard]] imagery::OutputRules MakeOutputRules(const OutputRequest& request, const Scene& scene);

/// Plans the output of the scene's part, to be compressed by this many threads. The rows of blocks are known
/// of GeoTIFF only; of other formats a trial tells (OutputTrial.h).
[[nodiscard]] OutputPlan PlanOutput(const SharpenRequest& request, const OutputFormat& format,
                                    const Scene& scene, int threads);

} // namespace rasterhost
