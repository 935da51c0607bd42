// Text functions and number conversions: they accept any text, and their results keep their promises.
#include "Input.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <cmath>

using namespace KOVA::Tessara::Fundament;
using fuzz::Require;

namespace {

void Cut(const std::string& text, const std::string& other, std::uint32_t limit) {
    Require(ToLower(ToUpper(text)) == ToLower(text), "letters convert there and back");
    const std::string trimmed = Trim(text);
    Require(trimmed == Trim(trimmed) && trimmed == TrimLeft(TrimRight(text)),
            "trimming twice changes nothing");
    Require(StringsEqual(text, text, false) && StartsWith(text, text, true) && EndsWith(text, text, false),
            "a text equals itself");
    if (StringsEqual(text, other, false)) Require(StringsEqual(text, other, true), "equal but for case");
    for (const std::string& token : Tokenize(text, other))
        Require(!token.empty() && token.find_first_of(other) == std::string::npos,
                "tokens hold no delimiter");
    const std::string shorter = Abbreviate(text, other, limit);
    Require(shorter.size() <= limit || text.size() <= limit, "an abbreviation is short enough");
}

void Replace(const std::string& text, const std::string& search, const std::string& by, bool ignoreCase,
             std::uint32_t limit) {
    const auto [position, length] = FindText(text, search, ignoreCase);
    Require(position == std::string::npos || (position <= text.size() && length == search.size()),
            "a find lies in the text");
    std::string changed = text;
    const std::uint32_t count = ReplaceAll(changed, search, by, ignoreCase, limit);
    Require(count <= limit && count <= text.size(), "replacements are bounded");
    Require(count > 0 || changed == text, "no replacement, no change");
    if (changed.size() < 200) ReplaceAll(changed, changed, changed, ignoreCase, limit);
}

void Convert(const std::string& text) {
    const double nan = std::nan("");
    const double value = StringToDouble(text, nan);
    Require(!(StringToDouble(text, 1.5) != value && !std::isnan(value)), "a number is no default");
    const std::uint32_t number = StringToUnsignedLong(text, 7);
    Require(static_cast<std::uint32_t>(StringToLong(text, 7)) == number, "signed and unsigned agree");
    if (std::isnan(value)) Require(number == 7, "no number gives the default");
    if (value >= 0 && value < 4294967296.0)
        Require(number == static_cast<std::uint32_t>(value), "numbers truncate");
    Require(!(StringToBool(text, true) != StringToBool(text, false) && StringToBool(text, true) == false),
            "a flag is on, off or the default");
    // A number printed with all its digits reads back as the same one.
    if (std::isfinite(value))
        Require(StringToDouble(FormatString("%.17g", value), nan) == value, "numbers survive their text");
}

void Format(const std::string& text, double number, std::uint32_t width) {
    const std::string plain = text.substr(0, text.find('\0'));
    Require(FormatString("%s", text.c_str()) == plain, "a text is formatted whole");
    const std::string padded = FormatString("%*s|%lf", static_cast<int>(width % 9000), plain.c_str(), number);
    Require(padded.size() > std::max<std::size_t>(plain.size(), width % 9000), "padding is not cut short");
    if (std::isfinite(number)) Require(padded.find(',', padded.size() - 7) == std::string::npos, "a point");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto limit = input.Take<std::uint16_t>();
    const bool ignoreCase = input.Flag();
    const auto number = input.Take<double>();
    const std::string text = input.Line();
    const std::string other = input.Line();
    const std::string third = input.Rest();
    Cut(text, other, limit);
    if (text.size() * third.size() < 10'000) Replace(text, other, third, ignoreCase, limit);
    for (const std::string& candidate : {text, other, third})
        Convert(candidate);
    Format(text, number, limit % 64 == 0 ? limit : limit % 64u);
    return 0;
}
