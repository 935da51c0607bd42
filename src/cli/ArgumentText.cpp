#include "cli/ArgumentText.h"

#include "cli/ExitCode.h"
#include "cli/Suggestion.h"
#include "fundament/Text.h"
#include "rasterhost/reading/BandNames.h"
#include "rasterhost/reading/NetworkFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

namespace cli {

using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Fundament::Trim;

namespace {

constexpr std::string_view bandMark = ",band=";
constexpr std::uint32_t largestBand = 65535;

/// The value of the whole text; empty when it is not a number.
template <class Number>
std::optional<Number> Convert(const std::string& text) {
    const std::string trimmed = Trim(text);
    Number value{};
    const char* end = trimmed.data() + trimmed.size();
    const auto result = std::from_chars(trimmed.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return value;
}

std::vector<std::string> SplitAtCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::string::size_type start = 0;
    for (auto comma = text.find(','); comma != std::string::npos; comma = text.find(',', start)) {
        parts.push_back(text.substr(start, comma - start));
        start = comma + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool Exists(const std::string& name) {
    std::error_code failure;
    return std::filesystem::exists(name, failure);
}

} // namespace

rasterhost::InputBand ParseInputBand(const std::string& text) {
    if (text.empty()) throw UsageError("the name of an input file is empty; give the name of a raster");
    const auto mark = text.rfind(bandMark);
    if (mark == std::string::npos || Exists(text)) return {rasterhost::NameForGdal(text), std::nullopt};
    const std::string file = text.substr(0, mark);
    const auto band = Convert<std::uint32_t>(text.substr(mark + bandMark.size()));
    if (file.empty() || !band || *band == 0 || *band > largestBand)
        throw UsageError(
            "'" + text +
            "' does not name a band of a file; give one number, counted from 1, after ',band=', as in "
            "ms.tif,band=3");
    return {rasterhost::NameForGdal(file), static_cast<int>(*band)};
}

std::vector<rasterhost::InputBand> ParseInputs(std::span<const std::string> texts) {
    std::vector<rasterhost::InputBand> inputs;
    inputs.reserve(texts.size());
    for (const std::string& text : texts)
        inputs.push_back(ParseInputBand(text));
    return inputs;
}

double ParseNumber(const std::string& option, const std::string& text) {
    const auto value = Convert<double>(text);
    if (!value || !std::isfinite(*value))
        throw UsageError(option + ": '" + text + "' is not a number; give one such as 0.25");
    return *value;
}

std::uint32_t ParseWhole(const std::string& option, const std::string& text, std::uint32_t minimum,
                         std::uint32_t maximum) {
    const auto value = Convert<std::uint32_t>(text);
    if (!value || *value < minimum || *value > maximum)
        throw UsageError(option + ": '" + text + "' is not a whole number from " + std::to_string(minimum) +
                         " to " + std::to_string(maximum));
    return *value;
}

std::array<double, 2> ParsePair(const std::string& option, const std::string& text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos)
        throw UsageError(option + ": '" + text + "' is not two numbers separated by a comma");
    return {ParseNumber(option, text.substr(0, comma)), ParseNumber(option, text.substr(comma + 1))};
}

std::size_t ParseChoice(const std::string& option, const std::string& text,
                        const std::vector<std::string>& known) {
    const std::string typed = KOVA::Tessara::Fundament::ToLower(text);
    const auto found = std::find(known.begin(), known.end(), typed);
    if (found != known.end()) return static_cast<std::size_t>(found - known.begin());
    std::string listed;
    for (const std::string& word : known)
        listed += (listed.empty() ? "" : " or ") + word;
    throw UsageError(option + ": there is no '" + text + "'" + Suggestion(typed, known) + "; give " + listed);
}

std::vector<double> ParseWeights(const std::string& option, const std::string& text) {
    if (StringsEqual(text, "equal", true) || StringsEqual(text, "auto", true)) return {};
    std::vector<double> weights;
    for (const std::string& part : SplitAtCommas(text)) {
        const auto weight = Convert<double>(part);
        if (!weight || !std::isfinite(*weight))
            throw UsageError(
                option + ": '" + part + "' in '" + text +
                "' is not a number; give one weight per multispectral band, as in 0.3,0.3,0.4, or "
                "'equal' or 'auto'");
        weights.push_back(*weight);
    }
    return weights;
}

std::vector<rasterhost::BandGains> ParseGains(const std::string& option, const std::string& text) {
    if (StringsEqual(text, "auto", true)) return {};
    std::vector<rasterhost::BandGains> gains;
    for (const std::string& part : SplitAtCommas(text)) {
        const auto colon = part.find(':');
        const auto gain = Convert<double>(part.substr(0, colon));
        const auto ratioGain =
            colon == std::string::npos ? std::optional(0.0) : Convert<double>(part.substr(colon + 1));
        const auto isGain = [](const std::optional<double>& of) {
            return of && std::isfinite(*of) && *of >= 0.0;
        };
        if (!isGain(gain) || !isGain(ratioGain))
            throw UsageError(
                option + ": '" + part + "' in '" + text +
                "' is not a pair of gains; give two numbers of 0 or more for each multispectral band, as in "
                "0.4:0.6,0.5:0.5, or 'auto'");
        gains.push_back({*gain, *ratioGain});
    }
    return gains;
}

BandList ParseBandList(const std::string& option, const std::string& text) {
    BandList bands;
    if (StringsEqual(text, "all", true)) return bands;
    for (const std::string& part : SplitAtCommas(text)) {
        const auto number = Convert<std::uint32_t>(part);
        const std::string name = number ? std::string() : rasterhost::FindBandName(part);
        if (name.empty() && (!number || *number == 0 || *number > largestBand))
            throw UsageError(option + ": '" + part + "' in '" + text +
                             "' is neither a band number nor a band's name" +
                             Suggestion(KOVA::Tessara::Fundament::ToLower(part), rasterhost::AllBandNames()) +
                             "; give numbers from 1, as in 3,2,1, or names, as in red,green,blue,nir");
        const bool isTwice = name.empty() ? std::ranges::count(bands.numbers, static_cast<int>(*number)) > 0
                                          : std::ranges::count(bands.names, name) > 0;
        if (isTwice)
            throw UsageError(option + ": band " + Trim(part) + " is named twice in '" + text +
                             "'; name each band once");
        if (name.empty())
            bands.numbers.push_back(static_cast<int>(*number));
        else
            bands.names.push_back(name);
    }
    if (!bands.numbers.empty() && !bands.names.empty())
        throw UsageError(option + ": '" + text + "' mixes numbers and names; give one of the two");
    return bands;
}

std::pair<std::string, std::string> ParseNameValue(const std::string& option, const std::string& text) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw UsageError(option + ": '" + text + "' is not of the form NAME=VALUE");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

} // namespace cli
