#include "fundament/Text.h"

#include "fundament/Time.h"
#include "support/System.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>
#include <regex>

namespace {

using namespace KOVA::Tessara::Fundament;
using testing::ElementsAre;
using namespace std::string_literals;

TEST(Text, ComparesBytesUpToZero) {
    const struct {
        std::string a, b;
        bool exact, folded;
    } cases[] = {
        {"", "", true, true},          {"", "\0"s, false, false},
        {"Kova", "KOVA", false, true}, {"a\0b"s, "a\0c"s, true, true},
        {"[", "{", false, false},      {"\xC4", "\xE4", false, false}, // 32 apart, and no ASCII letters
    };
    for (const auto& c : cases) {
        EXPECT_EQ(StringsEqual(c.a, c.b, false), c.exact) << c.a << " " << c.b;
        EXPECT_EQ(StringsEqual(c.b, c.a, true), c.folded) << c.a << " " << c.b;
    }
    EXPECT_EQ(Trim(" \t\n\v\f\r"), "");
    EXPECT_EQ(Trim("\r\n\xA0 x \0\v"s), "\xA0 x \0"s);
    EXPECT_TRUE(StartsWith("abc", "", false) && EndsWith("ABC", "bc", true));
    EXPECT_FALSE(StartsWith("abc", "abcd", false) || EndsWith("abc", "zabc", false) ||
                 EndsWith("C", "c", false));
}

TEST(Text, FormatsAnyLength) {
    for (const std::size_t length : {0u, 4094u, 4095u, 4096u, 100000u})
        EXPECT_EQ(FormatString("%s|%d", std::string(length, 'x').c_str(), 7),
                  std::string(length, 'x') + "|7");
}

TEST(Text, SplitsAndShortens) {
    EXPECT_THAT(Tokenize(",;a; b,,c,", ",;"), ElementsAre("a", " b", "c"));
    EXPECT_THAT(Tokenize("a b", ""), ElementsAre("a b"));
    EXPECT_THAT(Tokenize(",,", ","), ElementsAre());
    EXPECT_EQ(Abbreviate("abcdefghij", "...", 8), "abc...ij");
    EXPECT_EQ(Abbreviate("abcdefghij", "...", 10), "abcdefghij");
    EXPECT_EQ(Abbreviate("abcdefghij", "...", 2), "");
}

TEST(Text, Replaces) {
    constexpr std::uint32_t noLimit = 0xFFFFFFFFu;
    const struct {
        const char *text, *search, *replacement;
        std::uint32_t limit;
        const char* result;
        std::uint32_t count;
    } cases[] = {
        {"a.b.c", ".", "::", noLimit, "a::b::c", 2},
        {"a.b.c", ".", "::", 1, "a::b.c", 1},
        {"aaabbb", "ab", "", noLimit, "", 3},  // each search starts over
        {"ab", "a", "aa", noLimit, "aaab", 2}, // once per byte, however often it is found again
        {"abc", "", "y", noLimit, "yyyabc", 3},
        {"", "", "y", noLimit, "", 0},
        {"kova.tessara.X", "KOVA.Tessara.", "", noLimit, "X", 1},
    };
    for (const auto& c : cases) {
        std::string text = c.text;
        EXPECT_EQ(ReplaceAll(text, c.search, c.replacement, true, c.limit), c.count) << c.text;
        EXPECT_EQ(text, c.result);
    }
    // The text itself, as the text to search or to insert, counts with its original value.
    std::string self = "ab";
    EXPECT_EQ(ReplaceAll(self, self, "xx", false, noLimit), 1u);
    EXPECT_EQ(ReplaceAll(self, "x", self, false, 2), 2u);
    EXPECT_EQ(self, "xxxx");
}

TEST(Time, StampIsNowInLocalTime) {
    support::SetVariable("TZ", "XYZ-05:30"); // east of Greenwich
    tzset();
    using namespace std::chrono;
    const auto before = system_clock::now();
    const std::string stamp = GetTimeStamp();
    support::SetVariable("TZ", nullptr);
    tzset();
    ASSERT_TRUE(std::regex_match(stamp, std::regex("\\d{4}(-\\d\\d){2}T(\\d\\d[:.]){3}\\d{3}"))) << stamp;
    int y = 0, m = 0, d = 0, h = 0, min = 0, s = 0;
    ASSERT_EQ(std::sscanf(stamp.c_str(), "%d-%d-%dT%d:%d:%d", &y, &m, &d, &h, &min, &s), 6);
    const sys_days date = year(y) / m / d;
    const auto ahead = date + hours(h) + minutes(min) + seconds(s) - before;
    EXPECT_NEAR(duration<double>(ahead).count(), 5.5 * 3600.0, 5.0) << stamp;
}

} // namespace
