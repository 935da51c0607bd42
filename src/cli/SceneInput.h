#pragma once

#include "cli/Arguments.h"

#include <string>

/// Descriptions of scenes on the command line: as inputs instead of a pair, and as outputs.
namespace cli {

inline constexpr const char* sceneEnding = ".pansharp";
/// True when the name is that of the format of descriptions, in any letter case.
[[nodiscard]] bool IsSceneFormat(const std::string& format);

/// True when a name is that of a description, by its extension or by the contents of the file.
[[nodiscard]] bool NamesScene(const std::string& name);

/// Takes the scene that a file describes instead of a pair. Throws UsageError when it cannot be read, or when
/// an option was typed that contradicts it.
void TakeScene(const std::string& file, const CommandLine& line, Arguments& to);

/// True when the output is a description. Throws UsageError for options that cannot be combined with one.
[[nodiscard]] bool WritesScene(const Arguments& request);

/// Fits everything that the request leaves open and writes the description. False with items.
[[nodiscard]] bool WriteScene(const Arguments& request, rasterhost::SharpenReport& report,
                              KOVA::Tessara::Fundament::Status& status);

} // namespace cli
