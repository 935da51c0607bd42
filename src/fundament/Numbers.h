#pragma once

#include <cstdint>
#include <string>

/// Reading numbers and flags from property texts. Nothing throws; every function falls back to the caller's
/// default. The syntax is plain decimal in every locale: an optional sign, digits with an optional ".", an
/// optional exponent. Hexadecimal numbers, infinity and not-a-number are not accepted.
namespace KOVA::Tessara::Fundament {

/// True when |a - b| <= tolerance; false when any of them is not a number.
[[nodiscard]] bool NearlyEqual(double a, double b, double tolerance);

/// The number in the trimmed text. The default when the text is empty or not a number; 0 when it holds only
/// white space.
[[nodiscard]] double StringToDouble(const std::string& text, double defaultValue);

/// Like StringToDouble, then truncated toward zero to 64 bits, of which the low 32 are returned ("-1" read as
/// unsigned gives 4294967295). Numbers outside the signed 64-bit range give 0.
[[nodiscard]] std::int32_t StringToLong(const std::string& text, std::int32_t defaultValue);
[[nodiscard]] std::uint32_t StringToUnsignedLong(const std::string& text, std::uint32_t defaultValue);

/// The shortest text that StringToDouble reads as exactly this number. The number is finite.
[[nodiscard]] std::string NumberText(double number);

/// "ON" and "OFF" in any letter case, else by the first letter: 1, T, Y or 0, F, N. Anything else gives the
/// default.
[[nodiscard]] bool StringToBool(const std::string& text, bool defaultValue);

} // namespace KOVA::Tessara::Fundament
