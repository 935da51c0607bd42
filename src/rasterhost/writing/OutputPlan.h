#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputFormat.h"

#include <cpl_string.h>

#include <cstdint>
#include <string>
#include <vector>

namespace rasterhost {

/// How the output will be made. It is decided once; checks, estimates, windows and writing all use it.
struct OutputPlan {
    OutputFormat format;
    imagery::OutputRules rules;
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint32_t bits = 0; ///< of a sample in the file, 8 or 16
    int threads = 1;        ///< number of compressing threads, if GDAL compresses
    /// Creation options of the format: those requested, preceded by those that keep every sample unless the
    /// request sets the quality.
    CPLStringList options;
    /// Options of the file that fused pixels are written into: the same, completed; or those of a GeoTIFF to
    /// copy from.
    CPLStringList pixelOptions;
    /// The file is a copy of the fused pixels, stretched to 8 bits (Picture.h).
    bool isPicture = false;
    bool writesCog = false;    ///< a COG whose pixels are written as they are fused (CogWriter.h)
    bool writesTiff = false;   ///< the file with the fused pixels is a GeoTIFF
    bool isCompressed = false; ///< and it is compressed while it is written
    /// Rows per block of that file. Windows should be whole rows of blocks; if the layout has tiles, they
    /// must be.
    std::uint32_t blockRows = 1;
    imagery::OutputLayout layout; ///< the pixel layout of a window
    /// What the format does not keep, beside exact samples, as predicates: "has no position".
    std::vector<std::string> losses;

    /// True when the image is fused into another file and copied from it.
    [[nodiscard]] bool IsCopied() const { return format.isCopied && !writesCog; }
    [[nodiscard]] std::size_t GetPixelBytes() const { return std::size_t{rules.GetFileBands()} * (bits / 8); }
    [[nodiscard]] std::uint64_t GetBytes() const { ///< of all pixels, before compression
        return std::uint64_t{columns} * rows * GetPixelBytes();
    }
};

/// How the file will mark pixels without data: by the nodata value of the request or of the first input that
/// has one, by a last band if the request says so, else by a mask.
[[nodiscard]] imagery::OutputRules MakeOutputRules(const OutputRequest& request, const Scene& scene);

/// Plans the output of the scene's part, to be compressed by `threads` threads. The rows per block are only
/// known for GeoTIFF; for other formats a trial finds them (OutputTrial.h).
[[nodiscard]] OutputPlan PlanOutput(const SharpenRequest& request, const OutputFormat& format,
                                    const Scene& scene, int threads);

} // namespace rasterhost
