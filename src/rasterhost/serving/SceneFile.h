#pragma once

#include "rasterhost/serving/SceneRecord.h"

#include <string>
#include <utility>
#include <vector>

class GDALDataset;

/// Files that describe a scene, ".pansharp" files.
namespace rasterhost {

/// True when a file of that name, as GDAL takes it, begins as descriptions do.
[[nodiscard]] bool IsSceneFile(const std::string& name);

/// Reads a description. No input is opened; each stays in the folder of PANSHARP_INPUT_ROOT, where that is
/// set. False with an item that names the file and the key.
[[nodiscard]] bool ReadSceneFile(const std::string& name, SceneRecord& record, Status& status);

/// Writes a description under the name of the request's output, by the rules of any output: it replaces no
/// input and appears when it is complete. What lies beside it and belonged to a description that was there
/// goes with that; `warn` says so. False with an item.
[[nodiscard]] bool WriteSceneFile(const SceneRecord& record, const SharpenRequest& request,
                                  const std::function<void(const std::string&)>& warn, Status& status);

/// False with an item when no description can be written for a request: it, or one of its inputs, has a name
/// for which that cannot be done. To be asked before there is anything to write.
[[nodiscard]] bool CheckSceneFile(const SharpenRequest& request, Status& status);

/// Checks what open inputs are made of, at every level: none of it is a description, and all of it stays in
/// the folder that inputs are confined to, if there is one and `isConfined`. False with an item.
[[nodiscard]] bool CheckSources(const std::vector<std::pair<std::string, GDALDataset*>>& inputs,
                                bool isConfined, Status& status);

} // namespace rasterhost
