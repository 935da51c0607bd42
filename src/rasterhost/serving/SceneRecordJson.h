#pragma once

#include "rasterhost/serving/SceneRecord.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The text of a description: JSON in a fixed order of keys (docs/scene-file.md).
namespace rasterhost {

inline constexpr std::uint64_t sceneFileVersion = 1;

/// The text of a record for a file of that name. False with an item when it cannot be held in one: a name
/// that is not UTF-8, or a collar of too many runs.
[[nodiscard]] bool WriteRecord(const SceneRecord& record, const std::string& file, std::string& text,
                               Status& status);

/// The record in the text of a file of that name. False with an item that names the file and the key, for any
/// text whatever. Sizes and numbers are within their bounds then; whether the inputs are there, and agree
/// with it, is not known.
[[nodiscard]] bool ReadRecord(const std::string& text, const std::string& file, SceneRecord& record,
                              Status& status);

/// How many bytes tell whether a text is a description.
inline constexpr std::size_t recordStart = 64;

/// True when the first `recordStart` bytes of a text begin as descriptions do. What follows does not count,
/// so that all who ask agree, however much each has read.
[[nodiscard]] bool LooksLikeRecord(std::string_view text);

} // namespace rasterhost
