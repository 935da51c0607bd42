#include "fundament/Numbers.h"

#include "fundament/Text.h"
#include "kernels/NearlyEqual.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace KOVA::Tessara::Fundament {

namespace {

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t Digits(std::string_view text, std::size_t from) {
    std::size_t end = from;
    while (end < text.size() && IsDigit(text[end]))
        ++end;
    return end - from;
}

// True when the text is exactly one decimal number, without a sign.
bool IsUnsignedNumber(std::string_view text) {
    const std::size_t whole = Digits(text, 0);
    std::size_t at = whole;
    std::size_t fraction = 0;
    if (at < text.size() && text[at] == '.') {
        fraction = Digits(text, at + 1);
        at += 1 + fraction;
    }
    if (whole + fraction == 0) return false;
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
        const std::size_t exponent = Digits(text, at);
        if (exponent == 0) return false;
        at += exponent;
    }
    return at == text.size();
}

// The replacement for a number outside the range of a double: infinity if it is huge, zero if it is tiny.
double OutOfRange(std::string_view text) {
    const std::size_t e = text.find_first_of("eE");
    const std::string_view mantissa = text.substr(0, e);
    const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
    const auto leading = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
    std::int64_t exponent = 0;
    if (e != std::string_view::npos) {
        const bool negative = text[e + 1] == '-';
        for (const char c : text.substr(e + 1))
            if (IsDigit(c)) exponent = std::min<std::int64_t>(exponent * 10 + (c - '0'), 1'000'000'000'000);
        if (negative) exponent = -exponent;
    }
    return point - leading + exponent > 0 ? HUGE_VAL : 0.0;
}

std::int64_t Truncated(double value) {
    constexpr double bound = 9223372036854775808.0; // 2^63, exact
    return value >= -bound && value < bound ? static_cast<std::int64_t>(value) : 0;
}

} // namespace

bool NearlyEqual(double a, double b, double tolerance) { return kernels::NearlyEqual(a, b, tolerance); }

double StringToDouble(const std::string& text, double defaultValue) {
    if (text.empty()) return defaultValue;
    const std::string trimmed = Trim(text);
    if (trimmed.empty()) return 0.0;
    std::string_view digits = trimmed;
    const bool negative = digits.front() == '-';
    if (negative || digits.front() == '+') digits.remove_prefix(1);
    if (!IsUnsignedNumber(digits)) return defaultValue;
    double value = 0.0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (read.ec == std::errc::result_out_of_range) value = OutOfRange(digits);
    return negative ? -value : value;
}

std::int32_t StringToLong(const std::string& text, std::int32_t defaultValue) {
    return static_cast<std::int32_t>(StringToUnsignedLong(text, static_cast<std::uint32_t>(defaultValue)));
}

std::uint32_t StringToUnsignedLong(const std::string& text, std::uint32_t defaultValue) {
    // StringToDouble never reads NaN, so NaN can mark the default.
    const double value = StringToDouble(text, std::nan(""));
    return std::isnan(value) ? defaultValue : static_cast<std::uint32_t>(Truncated(value));
}

std::string NumberText(double number) {
    std::array<char, 40> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end.ptr};
}

bool StringToBool(const std::string& text, bool defaultValue) {
    const std::string word = ToUpper(Trim(text));
    if (word == "ON") return true;
    if (word == "OFF" || word.empty()) return word.empty() ? defaultValue : false;
    switch (word.front()) {
    case '1':
    case 'T':
    case 'Y':
        return true;
    case '0':
    case 'F':
    case 'N':
        return false;
    default:
        return defaultValue;
    }
}

} // namespace KOVA::Tessara::Fundament
