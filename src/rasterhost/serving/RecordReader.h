#pragma once

#include "rasterhost/requests/RecordPart.h"
#include "rasterhost/serving/SceneRecord.h"

#include <string>

namespace rasterhost {

inline constexpr const char* recordMagic = "pansharp_scene"; ///< the first key; its value is the version

/// Fills an empty record from the object of a description of this version, in a file named `file`. Throws
/// RecordFault.
void FillRecord(const RecordPart& object, const std::string& file, SceneRecord& record);

} // namespace rasterhost
