#pragma once

#include "rasterhost/scene/Scene.h"

#include <cstdint>

namespace rasterhost {

/// What decides how a scene is cut into windows.
struct RunSizes {
    std::uint32_t columns = 0; ///< of the output
    std::uint32_t rows = 0;
    std::uint32_t fileBands = 0;  ///< of the output, transparency counted
    int threads = 1;              ///< that fuse
    std::uint32_t windowRows = 0; ///< as the request gives them, or 0
    bool isCompressed = false;    ///< and so held twice before it is written
    bool hasPreview = false;      ///< a picture of it is made when it is finished
};

inline constexpr std::uint32_t usualBlockRows =
    256; ///< of the tiles that are written unless others are asked for

/// The sizes of a run for the scene's part.
[[nodiscard]] RunSizes FindSizes(const RunOptions& run, const OutputRequest& output, const Scene& scene,
                                 std::uint32_t fileBands);

/// The threads asked for, or one a processor.
[[nodiscard]] int ChooseThreads(const RunOptions& run);

/// Whole rows of output blocks, some 4 MB, and a few windows for every thread where the scene has them.
[[nodiscard]] std::uint32_t ChooseWindowRows(const Scene& scene, const RunSizes& sizes,
                                             std::uint32_t blockRows);

/// Windows that are held at a time: one more than threads, so that a thread finds work while another writes;
/// of two threads, which seldom wait for each other, that would cost more memory than it gains.
[[nodiscard]] int CountSlots(int threads);

/// Bytes for GDAL's cache: enough to keep rows of blocks that several windows share, of the inputs and of the
/// output, whose blocks have so many rows.
[[nodiscard]] std::int64_t CacheBytes(const Scene& scene, const RunSizes& sizes, std::uint32_t blockRows);

/// About what a run takes, in bytes, with blocks of so many rows.
[[nodiscard]] std::uint64_t EstimateMemory(const Scene& scene, const RunSizes& sizes,
                                           std::uint32_t blockRows);

/// False, with an item, when a row or a block of the images is larger than anything here is made for: a
/// damaged file may declare any size. To be asked before pixels are read.
[[nodiscard]] bool CheckSizes(const Scene& scene, Status& status);

/// False, with an item, when a run would take more memory than is allowed.
[[nodiscard]] bool CheckMemory(const RunOptions& run, const Scene& scene, const RunSizes& sizes,
                               std::uint32_t blockRows, Status& status);

} // namespace rasterhost
