#pragma once

#include "fundament/Status.h"

#include <string>
#include <utility>
#include <vector>

namespace cli {

using PropertyPairs = std::vector<std::pair<std::string, std::string>>;

/// Reads process properties from an XML file: every element below the root is one, with its name and text.
/// Throws UsageError, with the place in the file and the reason, when it cannot be read.
[[nodiscard]] PropertyPairs ReadSettings(const std::string& file);

/// Writes a status as an XML report with the time. An existing file is replaced only with `overwrite`. False,
/// with an item, when the file cannot be written.
[[nodiscard]] bool WriteStatusReport(const std::string& file, bool overwrite,
                                     KOVA::Tessara::Fundament::Status& status);

/// Removes such a report, or the one that a link leads to, if there is one. Leaves any other file. False when
/// the report is still there.
[[nodiscard]] bool RemoveStatusReport(const std::string& file);

} // namespace cli
