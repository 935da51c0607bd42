#pragma once

#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/scene/BandChoice.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// Blur, gains and what they promise, one line per sentence.
[[nodiscard]] std::vector<std::string> DescribeDetail(const rasterhost::DetailFit& detail);

/// The closing lines of a run that is done. `peakMemory` in bytes.
[[nodiscard]] std::string FormatReport(const rasterhost::SharpenReport& report, std::uint64_t peakMemory);

/// Output pixels a second, in millions; 0 when no time has passed.
[[nodiscard]] double MegapixelsPerSecond(const rasterhost::SharpenReport& report);

/// What the run was made with: lines to follow the report.
[[nodiscard]] std::string FormatDetails(const rasterhost::SharpenRequest& request,
                                        const rasterhost::SharpenReport& report);

/// What the picture beside the output shows: a line to follow the report.
[[nodiscard]] std::string FormatPreview(const std::string& file, const rasterhost::SharpenRequest& request,
                                        const rasterhost::SharpenReport& report,
                                        const rasterhost::ShownBands& bands);

} // namespace cli
