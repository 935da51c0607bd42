#pragma once

#include "rasterhost/serving/SceneRecord.h"

#include <string>
#include <utility>
#include <vector>

class GDALDataset;

/// Files that describe a scene: ".pansharp" files.
namespace rasterhost {

/// True when the file with this name, as GDAL takes it, begins like a description.
[[nodiscard]] bool IsSceneFile(const std::string& name);

/// Reads a description. Opens no input. If PANSHARP_INPUT_ROOT is set, every input must lie in that folder.
/// False, with an item that names the file and the key.
[[nodiscard]] bool ReadSceneFile(const std::string& name, SceneRecord& record, Status& status);

/// Writes a description under the name of the request's output, by the rules of any output: it does not
/// replace an input, and it appears only when it is complete. Files beside it that belonged to a replaced
/// description are removed; `warn` reports that. False with an item.
[[nodiscard]] bool WriteSceneFile(const SceneRecord& record, const SharpenRequest& request,
                                  const std::function<void(const std::string&)>& warn, Status& status);

/// Checks that a description can be written for a request: that its name and the names of its inputs can be
/// stored. Call it before there is anything to write. False with an item.
[[nodiscard]] bool CheckSceneFile(const SharpenRequest& request, Status& status);

/// Checks all files that open inputs consist of, at every level: none may be a description, and with
/// `isConfined` all must stay in the folder that inputs are confined to, if there is one. False with an item.
[[nodiscard]] bool CheckSources(const std::vector<std::pair<std::string, GDALDataset*>>& inputs,
                                bool isConfined, Status& status);

} // namespace rasterhost
