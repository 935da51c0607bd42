#pragma once

#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/scene/BandChoice.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// Describes blur, gains and their expected quality, one sentence per line.
[[nodiscard]] std::vector<std::string> DescribeDetail(const rasterhost::DetailFit& detail);

/// The closing lines of a finished run. `peakMemory` is in bytes.
[[nodiscard]] std::string FormatReport(const rasterhost::SharpenReport& report, std::uint64_t peakMemory);

/// Output pixels per second, in millions; 0 when no time has passed.
[[nodiscard]] double MegapixelsPerSecond(const rasterhost::SharpenReport& report);

/// The settings of the run: lines that follow the report.
[[nodiscard]] std::string FormatDetails(const rasterhost::SharpenRequest& request,
                                        const rasterhost::SharpenReport& report);

/// What the preview shows: a line that follows the report.
[[nodiscard]] std::string FormatPreview(const std::string& file, const rasterhost::SharpenRequest& request,
                                        const rasterhost::SharpenReport& report,
                                        const rasterhost::ShownBands& bands);

} // namespace cli
