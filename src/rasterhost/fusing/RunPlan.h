#pragma once

#include "host/Describe.h"
#include "rasterhost/writing/OutputPlan.h"

#include <cstdint>
#include <optional>

namespace rasterhost {

/// What determines how a scene is divided into windows, in addition to the plan of the output.
struct RunSizes {
    int threads = 1;              ///< number of fusing threads
    std::uint32_t windowRows = 0; ///< as given by the request, or 0
    bool hasPreview = false;      ///< a preview of the output is made at the end
    bool fits = false;            ///< weights, or blur and gains, are fitted first
    /// The modulation transfer of pan's low-pass, for a method that compares pan with it.
    std::optional<double> lowPass;
    /// The output is kept in GDAL's memory. "compare" does so: it judges one output while it makes the next.
    bool isKeptInMemory = false;
};

/// The sizes of a request. If it gives no low-pass, the widest that may be fitted is assumed.
[[nodiscard]] RunSizes FindSizes(const SharpenRequest& request, const PansharpDescription& plugin);

/// The requested number of threads, or one per processor.
[[nodiscard]] int ChooseThreads(const RunOptions& run);

/// Rows per window: whole rows of output blocks, about 4 MB, and several windows per thread if the scene has
/// enough rows.
[[nodiscard]] std::uint32_t ChooseWindowRows(const Scene& scene, const OutputPlan& output,
                                             const RunSizes& sizes);

/// The number of windows held at a time: one more than threads, so that a thread finds work while another
/// writes. With two threads, which rarely wait for each other, the extra window would cost more memory than
/// it gains, unless writing a window takes much work.
[[nodiscard]] int CountSlots(int threads, const OutputPlan& output);

/// Bytes for GDAL's cache: enough for rows of blocks that several windows share, of the inputs and of the
/// output.
[[nodiscard]] std::int64_t CacheBytes(const Scene& scene, const OutputPlan& output, const RunSizes& sizes);

/// The estimated memory of a run, in bytes.
[[nodiscard]] std::uint64_t EstimateMemory(const Scene& scene, const OutputPlan& output,
                                           const RunSizes& sizes);

/// Checks that no row or block of the images is too large: a damaged file may declare any size. Call it
/// before pixels are read. False with an item.
[[nodiscard]] bool CheckSizes(const Scene& scene, Status& status);

/// False, with an item, when a run would take more memory than the options allow.
[[nodiscard]] bool CheckMemory(const RunOptions& run, const Scene& scene, const OutputPlan& output,
                               const RunSizes& sizes, Status& status);

} // namespace rasterhost
