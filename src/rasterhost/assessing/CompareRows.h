#pragma once

#include "imagery/RowSource.h"
#include "quality/Comparison.h"
#include "rasterhost/scene/Scene.h"

#include <functional>
#include <initializer_list>
#include <memory>

namespace rasterhost {

/// Opens the rows of an image for one more thread. Null with an item.
using OpenRows = std::function<std::unique_ptr<imagery::RowSource>(Status&)>;

/// Opens those of an image that is open already, for as long as it is.
[[nodiscard]] OpenRows RowsOf(const InputImage& image);

/// All indices of an image against a reference of the same size where both have data. False with an item when
/// one cannot be read.
[[nodiscard]] bool CompareRows(const OpenRows& image, const OpenRows& reference, int threads, double ratio,
                               quality::ReferenceIndices& found, Status& status);

/// Bytes of GDAL's block cache in which images are read strip by strip without reading a block twice, by so
/// many threads that each open them. Null pointers count for nothing.
[[nodiscard]] std::int64_t StripCache(std::initializer_list<const InputImage*> images, int threads = 1);

/// How many threads read images strip by strip: as many as asked for, 0 for one per processor, but no more
/// than 256 MB of the block cache serve.
[[nodiscard]] int StripThreads(std::initializer_list<const InputImage*> images, int asked);

/// Checks that the axes of a pair are parallel and that the infrared band lies on the grid of the others;
/// degrading needs both. False with an item.
[[nodiscard]] bool CheckGrids(const Scene& scene, Status& status);

} // namespace rasterhost
