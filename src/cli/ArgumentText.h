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
/// what is wrong and what to type. `option` is the option's name in that text.
namespace cli {

/// FILE or FILE,band=N. If a file has exactly this name, it is taken without a band.
[[nodiscard]] rasterhost::InputBand ParseInputBand(const std::string& text);

[[nodiscard]] std::vector<rasterhost::InputBand> ParseInputs(std::span<const std::string> texts);

/// A finite decimal number, with a decimal point in every locale.
[[nodiscard]] double ParseNumber(const std::string& option, const std::string& text);

/// A whole number from `minimum` to `maximum`.
[[nodiscard]] std::uint32_t ParseWhole(const std::string& option, const std::string& text,
                                       std::uint32_t minimum, std::uint32_t maximum);

/// Two numbers separated by a comma.
[[nodiscard]] std::array<double, 2> ParsePair(const std::string& option, const std::string& text);

/// The position of a word among the known ones, in any letter case.
[[nodiscard]] std::size_t ParseChoice(const std::string& option, const std::string& text,
                                      const std::vector<std::string>& known);

/// Numbers from "W1,W2,..."; empty for "auto" and "equal".
[[nodiscard]] std::vector<double> ParseWeights(const std::string& option, const std::string& text);

/// Pairs of gains from "A1:B1,..."; the second is 0 if left out. Empty for "auto".
[[nodiscard]] std::vector<rasterhost::BandGains> ParseGains(const std::string& option,
                                                            const std::string& text);

/// Bands by number, counted from 1, or by name.
struct BandList {
    std::vector<int> numbers;
    std::vector<std::string> names;
};

/// Bands from "3,2,1" or "red,green,blue", each at most once; empty for "all".
[[nodiscard]] BandList ParseBandList(const std::string& option, const std::string& text);

/// NAME=VALUE. The name must not be empty; the value may be, and may contain "=".
[[nodiscard]] std::pair<std::string, std::string> ParseNameValue(const std::string& option,
                                                                 const std::string& text);

} // namespace cli
