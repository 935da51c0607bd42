#pragma once

#include "host/Describe.h"
#include "rasterhost/writing/OutputPlan.h"

#include <cstdint>
#include <optional>

namespace rasterhost {

/// What decides how a scene is cut into windows, beside the plan of the output.
struct RunSizes {
    int threads = 1;              ///< that fuse
    std::uint32_t windowRows = 0; ///< as the request gives them, or 0
    bool hasPreview = false;      ///< a picture of it is made when it is finished
    bool fits = false;            ///< weights, or blur and gains, are fitted before
    /// For a method that compares pan with its low-pass: the modulation transfer of that.
    std::optional<double> lowPass;
    /// The output is kept in GDAL's memory, as are those of "compare", which judges one while it makes the
    /// next.
    bool isKeptInMemory = false;
};

/// Those of a request; the widest low-pass that may be fitted where it gives none.
[[nodiscard]] RunSizes FindSizes(const SharpenRequest& request, const PansharpDescription& plugin);

/// The threads asked for, or one per processor.
[[nodiscard]] int ChooseThreads(const RunOptions& run);

/// Whole rows of output blocks, some 4 MB, and a few windows for every thread where the scene has them.
[[nodiscard]] std::uint32_t ChooseWindowRows(const Scene& scene, const OutputPlan& output,
                                             const RunSizes& sizes);

/// Windows that are held at a time: one more than threads, so that a thread finds work while another writes;
/// of two threads, which seldom wait for each other, that would cost more memory than it gains, unless much
/// is done as a window is written.
[[nodiscard]] int CountSlots(int threads, const OutputPlan& output);

/// Bytes for GDAL's cache: enough to keep rows of blocks that several windows share, of the inputs and of the
/// output.
[[nodiscard]] std::int64_t CacheBytes(const Scene& scene, const OutputPlan& output, const RunSizes& sizes);

/// About what a run takes, in bytes.
[[nodiscard]] std::uint64_t EstimateMemory(const Scene& scene, const OutputPlan& output,
                                           const RunSizes& sizes);

/// False, with an item, when a row or a block of the images is larger than anything here is made for: a
/// damaged file may declare any size. To be asked before pixels are read.
[[nodiscard]] bool CheckSizes(const Scene& scene, Status& status);

/// False, with an item, when a run would take more memory than is allowed.
[[nodiscard]] bool CheckMemory(const RunOptions& run, const Scene& scene, const OutputPlan& output,
                               const RunSizes& sizes, Status& status);

} // namespace rasterhost
