#pragma once

#include "fundament/Status.h"

#include <string>
#include <vector>

namespace cli {

/// The items with a message or details, in order.
[[nodiscard]] std::vector<KOVA::Tessara::Fundament::StatusItem>
SayingItems(const KOVA::Tessara::Fundament::Status& status);

/// The id as six upper-case hexadecimal digits.
[[nodiscard]] std::string FormatId(std::uint32_t id);

/// A failure as shown on standard error: "pansharp: error: " and the first item's message, then the other
/// items on indented lines of their own, with details indented further. Ends in a line feed.
[[nodiscard]] std::string FormatErrors(const KOVA::Tessara::Fundament::Status& status);

/// One message after "pansharp: error: " or "pansharp: warning: ".
[[nodiscard]] std::string FormatError(const std::string& message);
[[nodiscard]] std::string FormatWarning(const std::string& message);

} // namespace cli
