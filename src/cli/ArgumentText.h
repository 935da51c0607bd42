#pragma once

#include "rasterhost/requests/Requests.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// Parses the values of options. Each function throws UsageError with a text that quotes what was typed, says
/// what is wrong and what to type. `option` is the name that the text uses.
namespace cli {

/// FILE or FILE,band=N. A file whose own name ends so is taken as it is.
[[nodiscard]] rasterhost::InputBand ParseInputBand(const std::string& text);

[[nodiscard]] std::vector<rasterhost::InputBand> ParseInputs(std::span<const std::string> texts);

/// A finite decimal number, with a point in every locale.
[[nodiscard]] double ParseNumber(const std::string& option, const std::string& text);

/// A whole number within the range.
[[nodiscard]] std::uint32_t ParseWhole(const std::string& option, const std::string& text,
                                       std::uint32_t minimum, std::uint32_t maximum);

/// Two numbers separated by a comma.
[[nodiscard]] std::array<double, 2> ParsePair(const std::string& option, const std::string& text);

/// One of a few words, in any letter case: which.
[[nodiscard]] std::size_t ParseChoice(const std::string& option, const std::string& text,
                                      const std::vector<std::string>& known);

/// "W1,W2,..." as numbers; "auto" and "equal" as none.
[[nodiscard]] std::vector<double> ParseWeights(const std::string& option, const std::string& text);

/// "A1:B1,..." as pairs of gains, the second 0 where it is left out; "auto" as none.
[[nodiscard]] std::vector<rasterhost::BandGains> ParseGains(const std::string& option,
                                                            const std::string& text);

/// Bands by number from 1, or by name.
struct BandList {
    std::vector<int> numbers;
    std::vector<std::string> names;
};

/// "3,2,1" or "red,green,blue", none twice; "all" as none.
[[nodiscard]] BandList ParseBandList(const std::string& option, const std::string& text);

/// NAME=VALUE; the name may not be empty, the value may and may hold further "=".
[[nodiscard]] std::pair<std::string, std::string> ParseNameValue(const std::string& option,
                                                                 const std::string& text);

} // namespace cli
