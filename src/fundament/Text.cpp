#include "fundament/Text.h"

#include "fundament/ClassicFormat.h"

#include <cstdarg>
#include <string_view>

namespace KOVA::Tessara::Fundament {

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

constexpr char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
constexpr char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view UpToZero(std::string_view text) { return text.substr(0, text.find('\0')); }

bool Same(std::string_view a, std::string_view b, bool ignoreCase) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i] && !(ignoreCase && Lower(a[i]) == Lower(b[i]))) return false;
    return true;
}

} // namespace

bool StringsEqual(const std::string& a, const std::string& b, bool ignoreCase) {
    if (a.empty() != b.empty()) return false;
    return Same(UpToZero(a), UpToZero(b), ignoreCase);
}

std::string ToUpper(const std::string& text) {
    std::string result = text;
    for (char& c : result)
        c = Upper(c);
    return result;
}

std::string ToLower(const std::string& text) {
    std::string result = text;
    for (char& c : result)
        c = Lower(c);
    return result;
}

std::string TrimLeft(const std::string& text) {
    const auto first = text.find_first_not_of(whiteSpace);
    return first == std::string::npos ? std::string() : text.substr(first);
}

std::string TrimRight(const std::string& text) {
    return text.substr(0, text.find_last_not_of(whiteSpace) + 1);
}

std::string Trim(const std::string& text) { return TrimLeft(TrimRight(text)); }

bool StartsWith(const std::string& text, const std::string& prefix, bool ignoreCase) {
    return Same(std::string_view(text).substr(0, prefix.size()), prefix, ignoreCase);
}

bool EndsWith(const std::string& text, const std::string& suffix, bool ignoreCase) {
    return suffix.size() <= text.size() &&
           Same(std::string_view(text).substr(text.size() - suffix.size()), suffix, ignoreCase);
}

std::string FormatString(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string result = FormatArguments(format, arguments);
    va_end(arguments);
    return result;
}

std::string FormatArguments(const char* format, std::va_list arguments) {
    char buffer[4096];
    va_list again;
    va_copy(again, arguments);
    const int length = FormatClassic(buffer, sizeof buffer, format, arguments);
    std::string result;
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof buffer) {
        result.assign(buffer, static_cast<std::size_t>(length));
    } else if (length >= 0) {
        result.resize(static_cast<std::size_t>(length));
        FormatClassic(result.data(), result.size() + 1, format, again);
    }
    va_end(again);
    return result;
}

std::vector<std::string> Tokenize(const std::string& text, const std::string& delimiters) {
    std::vector<std::string> tokens;
    for (std::size_t position = 0; position < text.size();) {
        const auto first = text.find_first_not_of(delimiters, position);
        if (first == std::string::npos) break;
        const auto end = text.find_first_of(delimiters, first);
        tokens.push_back(text.substr(first, end == std::string::npos ? end : end - first));
        if (end == std::string::npos) break;
        position = end + 1;
    }
    return tokens;
}

std::pair<std::string::size_type, std::string::size_type>
FindText(const std::string& text, const std::string& search, bool ignoreCase) {
    const std::string within(UpToZero(ignoreCase ? ToLower(text) : text));
    const std::string wanted(UpToZero(ignoreCase ? ToLower(search) : search));
    const auto position = within.find(wanted);
    if (position == std::string::npos) return {std::string::npos, 0};
    return {position, search.size()};
}

std::uint32_t ReplaceAll(std::string& text, const std::string& search, const std::string& replacement,
                         bool ignoreCase, std::uint32_t limit) {
    if (&search == &text || &replacement == &text) {
        const std::string before = text;
        return ReplaceAll(text, &search == &text ? before : search,
                          &replacement == &text ? before : replacement, ignoreCase, limit);
    }
    if (text.size() < limit) limit = static_cast<std::uint32_t>(text.size());
    for (std::uint32_t done = 0; done < limit; ++done) {
        const auto [position, length] = FindText(text, search, ignoreCase);
        if (position == std::string::npos) return done;
        text.replace(position, length, replacement);
    }
    return limit;
}

std::string Abbreviate(const std::string& text, const std::string& ellipsis, std::string::size_type maximum) {
    if (text.size() <= maximum) return text;
    if (ellipsis.size() > maximum) return {};
    const auto kept = maximum - ellipsis.size();
    const auto tail = kept / 2;
    return text.substr(0, kept - tail) + ellipsis + text.substr(text.size() - tail);
}

} // namespace KOVA::Tessara::Fundament
