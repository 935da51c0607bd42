#pragma once

#include "imagery/RowSource.h"
#include "quality/Comparison.h"
#include "rasterhost/scene/PlaceImage.h"
#include "rasterhost/scene/Scene.h"

#include <functional>
#include <initializer_list>
#include <memory>

namespace rasterhost {

/// Opens the rows of an image for one more thread. Null with an item.
using OpenRows = std::function<std::unique_ptr<imagery::RowSource>(Status&)>;

/// Reads the rows of an image that is already open. The image must outlive the result.
[[nodiscard]] OpenRows RowsOf(const InputImage& image);

/// All indices of an image against a reference of the same size, at pixels where both have data. False, with
/// an item, when one cannot be read. `ratio` is the width of a coarse pixel over that of a fine one, for
/// ERGAS.
[[nodiscard]] bool CompareRows(const OpenRows& image, const OpenRows& reference, int threads, double ratio,
                               quality::ReferenceIndices& found, Status& status);

/// Bytes of GDAL's block cache that are needed to read images strip by strip without reading a block twice,
/// when each of `threads` threads opens them. Null pointers are ignored.
[[nodiscard]] std::int64_t StripCache(std::initializer_list<const InputImage*> images, int threads = 1);

/// The number of threads that read images strip by strip: one per processor, but no more than 256 MB of block
/// cache suffice for and than can be started.
[[nodiscard]] int StripThreads(std::initializer_list<const InputImage*> images, const Warn& warn);

/// Checks that the axes of a pair are parallel and that the infrared band lies on the grid of the other
/// bands. Degrading requires both. False with an item.
[[nodiscard]] bool CheckGrids(const Scene& scene, Status& status);

} // namespace rasterhost
