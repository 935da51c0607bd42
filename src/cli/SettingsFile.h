#pragma once

#include "fundament/Status.h"

#include <string>
#include <utility>
#include <vector>

namespace cli {

using PropertyPairs = std::vector<std::pair<std::string, std::string>>;

/// The process properties of an XML file: every element below the root is one, named and valued by it. Throws
/// UsageError, with the place in the file and the reason, when it cannot be read.
[[nodiscard]] PropertyPairs ReadSettings(const std::string& file);

/// Writes a status as an XML report, with the time; replaces a file only with `overwrite`. False, with an
/// item, when the file cannot be written.
[[nodiscard]] bool WriteStatusReport(const std::string& file, bool overwrite,
                                     KOVA::Tessara::Fundament::Status& status);

} // namespace cli
