#pragma once

#include <string>
#include <vector>

namespace cli {

/// " (did you mean 'X'?)" with the known name nearest to what was typed; empty when none is similar.
[[nodiscard]] std::string Suggestion(const std::string& typed, const std::vector<std::string>& known);

} // namespace cli
