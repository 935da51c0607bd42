#include "view/Query.h"

#include "fundament/Numbers.h"
#include "view/BadRequest.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace view {

using KOVA::Tessara::Fundament::NumberText;

namespace {

constexpr std::size_t longestQuoted = 40;

/// The part of a request that a message quotes.
std::string Quote(std::string_view text) {
    return "'" + std::string(text.substr(0, longestQuoted)) + (text.size() > longestQuoted ? "..." : "") +
           "'";
}

/// The value of the whole text; empty when it is not a number.
template <class Number>
std::optional<Number> Convert(std::string_view text) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return value;
}

int DigitOf(char letter) {
    if (letter >= '0' && letter <= '9') return letter - '0';
    if (letter >= 'a' && letter <= 'f') return letter - 'a' + 10;
    if (letter >= 'A' && letter <= 'F') return letter - 'A' + 10;
    return -1;
}

} // namespace

std::string DecodePercent(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char letter = text[at];
        if (letter == '%') {
            const int high = at + 2 < text.size() ? DigitOf(text[at + 1]) : -1;
            const int low = at + 2 < text.size() ? DigitOf(text[at + 2]) : -1;
            if (high < 0 || low < 0) throw BadRequest("a '%' is not followed by two hexadecimal digits");
            letter = static_cast<char>(high * 16 + low);
            at += 2;
        }
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F)
            throw BadRequest("the request has a control character in it");
        decoded += letter;
    }
    return decoded;
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end - start));
        if (end == std::string_view::npos) return parts;
        start = end + 1;
    }
}

Query::Query(std::string_view text) {
    if (text.empty()) return;
    for (const std::string_view part : Split(text, '&')) {
        if (parameters.size() == mostParameters)
            throw BadRequest("the request has more than " + std::to_string(mostParameters) + " parameters");
        const std::size_t equals = std::min(part.find('='), part.size());
        Parameter parameter{DecodePercent(part.substr(0, equals)), {}};
        if (equals < part.size()) parameter.value = DecodePercent(part.substr(equals + 1));
        for (const Parameter& other : parameters)
            if (other.name == parameter.name)
                throw BadRequest("the parameter " + Quote(parameter.name) + " is given twice; give it once");
        parameters.push_back(std::move(parameter));
    }
}

std::optional<std::string> Query::Take(std::string_view name) {
    for (Parameter& parameter : parameters)
        if (parameter.name == name) {
            parameter.isTaken = true;
            return parameter.value;
        }
    return std::nullopt;
}

void Query::RefuseOthers() const {
    for (const Parameter& parameter : parameters)
        if (!parameter.isTaken)
            throw BadRequest("there is no parameter " + Quote(parameter.name) + " here; leave it out");
}

std::uint32_t ReadWhole(std::string_view name, std::string_view text, std::uint32_t least,
                        std::uint32_t most) {
    const auto value = Convert<std::uint32_t>(text);
    if (!value || *value < least || *value > most)
        throw BadRequest(std::string(name) + ": " + Quote(text) + " is not a whole number from " +
                         std::to_string(least) + " to " + std::to_string(most));
    return *value;
}

double ReadNumber(std::string_view name, std::string_view text, double least, double most) {
    const auto value = Convert<double>(text);
    if (!value || !std::isfinite(*value) || *value < least || *value > most)
        throw BadRequest(std::string(name) + ": " + Quote(text) + " is not a number from " +
                         NumberText(least) + " to " + NumberText(most));
    return *value;
}

} // namespace view
