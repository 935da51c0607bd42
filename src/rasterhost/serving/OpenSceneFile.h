#pragma once

#include "rasterhost/serving/SceneRecord.h"
#include "rasterhost/serving/SharpenedDataset.h"

#include <cstddef>
#include <memory>
#include <string>

namespace rasterhost {

/// Opens a description of a scene as the image that it stands for. `mostReaders` threads may read it at a
/// time; the first one uses the files opened here. Reads no pixels. Only the plug-in of `run` is used. Null
/// with items. GDAL prints nothing.
[[nodiscard]] std::shared_ptr<const SharpenedDataset> OpenSceneFile(const std::string& name,
                                                                    const RunOptions& run,
                                                                    std::size_t mostReaders, const Warn& warn,
                                                                    Status& status);

/// The same for a description in memory.
[[nodiscard]] std::shared_ptr<const SharpenedDataset> OpenRecord(const SceneRecord& record,
                                                                 const RunOptions& run,
                                                                 std::size_t mostReaders, const Warn& warn,
                                                                 Status& status);

} // namespace rasterhost
