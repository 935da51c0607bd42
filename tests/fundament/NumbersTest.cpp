#include "fundament/Numbers.h"

#include "fundament/Text.h"
#include "support/System.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

namespace {

using namespace KOVA::Tessara::Fundament;
using namespace std::string_literals;

constexpr double infinity = std::numeric_limits<double>::infinity();

void CheckDoubles() {
    constexpr double missing = -77.0;
    for (const std::string& text : {""s, "."s, "-"s, "+-5"s, "1e"s, "1e+"s, "12abc"s, "1,5"s, "0x10"s, "inf"s,
                                    "-nan"s, "1 2"s, "1\0"s, "1.2.3"s, "\xA0" + "1"s})
        EXPECT_EQ(StringToDouble(text, missing), missing) << text;
    const std::string zeros(400, '0');
    const std::string texts[] = {
        " \t", " 2.5e1 ", "+.5", "5.", "0e400", "4.9406564584124654e-324", "0." + zeros + "1e401"};
    const double values[] = {0.0, 25.0, 0.5, 5.0, 0.0, std::numeric_limits<double>::denorm_min(), 1.0};
    for (std::size_t i = 0; i < std::size(texts); ++i)
        EXPECT_EQ(StringToDouble(texts[i], missing), values[i]) << texts[i].substr(0, 40);
    // Beyond the range of a double: huge numbers are infinite and tiny ones are 0, however they are written.
    for (const std::string& huge : {"1e400"s, "1e99999999999999999999"s, "1" + zeros})
        EXPECT_EQ(StringToDouble("-" + huge, missing), -infinity) << huge;
    for (const std::string& tiny : {"1e-400"s, "1e-99999999999999999999"s, "0." + zeros + "1"})
        EXPECT_EQ(StringToDouble(tiny, missing), 0.0) << tiny;
    EXPECT_TRUE(std::signbit(StringToDouble("-0", missing)));
}

TEST(Numbers, ReadsDoubles) { CheckDoubles(); }

// Many locales write a decimal comma. Compiles such a locale if none is installed.
bool SetDecimalComma() {
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "nb_NO.UTF-8", "German_Germany.1252"})
        if (std::setlocale(LC_ALL, name)) return true;
    const support::Folder folder;
    const std::string compile =
        "localedef -i de_DE -f UTF-8 '" + folder / "de_DE.UTF-8" + "' >/dev/null 2>&1";
    support::SetVariable("LOCPATH", folder.path.string().c_str());
    return std::system(compile.c_str()) == 0 && std::setlocale(LC_ALL, "de_DE.UTF-8");
}

TEST(Numbers, NoLocaleIsConsulted) {
    if (!SetDecimalComma()) GTEST_SKIP() << "no locale with a decimal comma here, and no localedef";
    char plain[8];
    CheckDoubles();
    EXPECT_EQ(FormatString("%0.3lf", 0.25), "0.250");
    std::snprintf(plain, sizeof plain, "%.1f", 0.5); // the caller's locale is still set
    EXPECT_STREQ(plain, "0,5");
    std::setlocale(LC_ALL, "C");
}

// Truncated toward zero to 64 bits, of which the low 32 are kept; the last double below 2^63 is 2^63 - 1024.
TEST(Numbers, ReadsWholeNumbers) {
    const char* texts[] = {"2.9", "-2.9", "-1", "2147483648", "4294967297.9", "9223372036854774784",
                           " ",   "abc"};
    const std::uint32_t bits[] = {2, 0xFFFFFFFEu, 0xFFFFFFFFu, 0x80000000u, 1, 0xFFFFFC00u, 0, 7};
    for (std::size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_EQ(StringToUnsignedLong(texts[i], 7), bits[i]) << texts[i];
        EXPECT_EQ(StringToLong(texts[i], 7), static_cast<std::int32_t>(bits[i])) << texts[i];
    }
    for (const char* outside : {"9223372036854775808", "-9223372036854775809e1", "1e400", "-1e400"})
        EXPECT_EQ(StringToUnsignedLong(outside, 7), 0u) << outside;
    EXPECT_EQ(StringToLong("", -3), -3);
}

TEST(Numbers, ReadsFlagsAndCompares) {
    for (const bool otherwise : {false, true}) {
        for (const char* text : {"yes", " True ", "1", "on", "10"})
            EXPECT_TRUE(StringToBool(text, otherwise)) << text;
        for (const char* text : {"no", "F", "0", "OFF", "NONE"})
            EXPECT_FALSE(StringToBool(text, otherwise)) << text;
        for (const char* text : {"", "  ", "maybe", "2", "OK", "ONE", "-1"})
            EXPECT_EQ(StringToBool(text, otherwise), otherwise) << text;
    }
    EXPECT_TRUE(NearlyEqual(1.0, 1.5, 0.5));
    const double nan = std::nan("");
    EXPECT_FALSE(NearlyEqual(nan, nan, 1.0) || NearlyEqual(0.0, nan, infinity) || NearlyEqual(0.0, 0.0, nan));
}

} // namespace
