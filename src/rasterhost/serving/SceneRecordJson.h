#pragma once

#include "rasterhost/serving/SceneRecord.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The text of a description: JSON in a fixed order of keys (docs/scene-file.md).
namespace rasterhost {

inline constexpr std::uint64_t sceneFileVersion = 1;

/// The text of a record for a file named `file`. False, with an item, when it cannot be stored: a name is not
/// UTF-8, or a collar has too many runs.
[[nodiscard]] bool WriteRecord(const SceneRecord& record, const std::string& file, std::string& text,
                               Status& status);

/// The record in the text of a file named `file`. The text may be anything: false, with an item that names
/// the file and the key. On success all sizes and numbers are within their bounds, but the inputs may be
/// missing or may have changed.
[[nodiscard]] bool ReadRecord(const std::string& text, const std::string& file, SceneRecord& record,
                              Status& status);

/// The number of bytes that show whether a text is a description.
inline constexpr std::size_t recordStart = 64;

/// True when the first `recordStart` bytes of a text begin like a description. Later bytes are ignored, so
/// that the answer does not depend on how much has been read.
[[nodiscard]] bool LooksLikeRecord(std::string_view text);

} // namespace rasterhost
