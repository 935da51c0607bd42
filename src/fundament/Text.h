#pragma once

#include "fundament/PrintfFormat.h"

#include <cstdarg>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Text functions shared by the whole system. Texts are bytes and no locale is used: white space is exactly
/// space, \t, \n, \v, \f and \r; letters are ASCII letters; every other byte stands for itself. All functions
/// are reentrant, and none throws for bad input.
namespace KOVA::Tessara::Fundament {

/// True when both texts are equal up to their first zero byte; two empty texts are equal.
[[nodiscard]] bool StringsEqual(const std::string& a, const std::string& b, bool ignoreCase);

/// Copies with every ASCII letter converted.
[[nodiscard]] std::string ToUpper(const std::string& text);
[[nodiscard]] std::string ToLower(const std::string& text);

/// Copies without leading, trailing, or leading and trailing white space.
[[nodiscard]] std::string TrimLeft(const std::string& text);
[[nodiscard]] std::string TrimRight(const std::string& text);
[[nodiscard]] std::string Trim(const std::string& text);

/// An empty prefix always matches; one longer than the text never does. Likewise for suffixes.
[[nodiscard]] bool StartsWith(const std::string& text, const std::string& prefix, bool ignoreCase);
[[nodiscard]] bool EndsWith(const std::string& text, const std::string& suffix, bool ignoreCase);

/// printf formatting into a text of any length; the result is never truncated. Floating-point conversions
/// use the "C" locale, whatever locale the process has set.
[[nodiscard]] std::string FormatString(const char* format, ...) PANSHARP_PRINTF(1, 2);
/// The same for a caller that is variadic itself. The caller must end `arguments`.
[[nodiscard]] std::string FormatArguments(const char* format, std::va_list arguments);

/// The tokens between bytes of the delimiter set, in order, untrimmed. Adjacent delimiters make no empty
/// tokens.
[[nodiscard]] std::vector<std::string> Tokenize(const std::string& text, const std::string& delimiters);

/// Position and length of the first occurrence of `search`, or (std::string::npos, 0). The search ends at a
/// zero byte in either text.
[[nodiscard]] std::pair<std::string::size_type, std::string::size_type>
FindText(const std::string& text, const std::string& search, bool ignoreCase);

/// Replaces occurrences in place and searches again from the start after each replacement, at most `limit`
/// times and at most once per byte of the original text. Returns the number of replacements.
std::uint32_t ReplaceAll(std::string& text, const std::string& search, const std::string& replacement,
                         bool ignoreCase, std::uint32_t limit);

/// Shortens a text to at most `maximum` bytes: its head, the ellipsis, its tail (the head one byte longer if
/// they cannot be equal). A text that fits is returned unchanged. If the ellipsis itself does not fit, the
/// result is empty.
[[nodiscard]] std::string Abbreviate(const std::string& text, const std::string& ellipsis,
                                     std::string::size_type maximum);

} // namespace KOVA::Tessara::Fundament
