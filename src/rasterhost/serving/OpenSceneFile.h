#pragma once

#include "rasterhost/serving/SceneRecord.h"
#include "rasterhost/serving/SharpenedDataset.h"

#include <cstddef>
#include <memory>
#include <string>

namespace rasterhost {

/// Opens a description of a scene as the image that it stands for, to be read by this many threads at a time;
/// the first one reads with the files that are opened here. Reads no pixels. Of `run` the plug-in counts.
/// Null with items; nothing that GDAL says on the way is printed.
[[nodiscard]] std::shared_ptr<const SharpenedDataset> OpenSceneFile(const std::string& name,
                                                                    const RunOptions& run,
                                                                    std::size_t mostReaders, const Warn& warn,
                                                                    Status& status);

/// The same of a description that is at hand.
[[nodiscard]] std::shared_ptr<const SharpenedDataset> OpenRecord(const SceneRecord& record,
                                                                 const RunOptions& run,
                                                                 std::size_t mostReaders, const Warn& warn,
                                                                 Status& status);

} // namespace rasterhost
