#pragma once

#include "cli/Arguments.h"

#include <string>

/// Descriptions of scenes on the command line, as inputs instead of a pair and as outputs.
namespace cli {

inline constexpr const char* sceneEnding = ".pansharp";
/// True for the name of the format of descriptions, in any letter case.
[[nodiscard]] bool IsSceneFormat(const std::string& format);

/// True for the name of a description: by its ending, or by what the file holds.
[[nodiscard]] bool NamesScene(const std::string& name);

/// Takes the scene that a file describes instead of a pair. Throws UsageError when it cannot be read, or when
/// an option was typed that says something else of the scene.
void TakeScene(const std::string& file, const CommandLine& line, Arguments& to);

/// True when the output is to be a description. Throws UsageError for what cannot go with one.
[[nodiscard]] bool WritesScene(const Arguments& request);

/// Finds everything that the request leaves open and writes the description. False with items.
[[nodiscard]] bool WriteScene(const Arguments& request, rasterhost::SharpenReport& report,
                              KOVA::Tessara::Fundament::Status& status);

} // namespace cli
