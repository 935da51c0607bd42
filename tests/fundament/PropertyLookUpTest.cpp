#include "fundament/PropertyLookUp.h"

#include <gtest/gtest.h>

namespace {

using KOVA::Tessara::Fundament::PropertyLookUp;
using Pair = PropertyLookUp::Pair;
using namespace std::string_literals;

TEST(PropertyLookUp, ReadsLeaveOrTrimWhatIsStored) {
    PropertyLookUp p;
    p["A"] = "  x  ";
    EXPECT_EQ(p.GetString("a"), "x");
    EXPECT_EQ(p.GetAt(0), Pair("A", "  x  "));
    EXPECT_EQ(p["a"], "x");
    EXPECT_EQ(p.GetAt(0), Pair("A", "x"));
    EXPECT_EQ(p.GetString("a ", " none "), "none");
    EXPECT_EQ(p.GetCount(), 1u);
    EXPECT_EQ(p["a "], ""); // a space is part of a name
    EXPECT_EQ(p.GetCount(), 2u);
    EXPECT_EQ(p.GetAt(7), Pair("a ", ""));
    EXPECT_FALSE(p.HasProperty("A\0"s) || p.HasProperty(""));
    EXPECT_TRUE(p.Remove("a"));
    EXPECT_FALSE(p.Remove("a"));
    p.Clear();
    EXPECT_EQ(p.GetAt(0), Pair());
}

TEST(PropertyLookUp, ConvertsWithDefaults) {
    const char* values[] = {"50%", " 12.5 % ", "abc%", "%", "1%2%", "  ", "-1", "2.9", "0x10"};
    const double numbers[] = {0.5, 0.125, 0.2, 0.2, 0.01, 7.0, -1.0, 2.9, 7.0};
    const std::uint32_t wholes[] = {3, 3, 3, 3, 3, 3, 4294967295u, 2, 3};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        PropertyLookUp p;
        p["v"] = values[i];
        EXPECT_EQ(p.GetDouble("V", 7.0, 20.0), numbers[i]) << values[i];
        EXPECT_EQ(p.GetUnsignedLong("V", 3), wholes[i]) << values[i];
    }
    const PropertyLookUp none;
    EXPECT_TRUE(none.GetLong("x", -5) == -5 && none.GetBool("x", true) && none.GetDouble("x", 1.5, 0) == 1.5);
}

// A reference into the lookup, or the lookup itself, may be added to it.
TEST(PropertyLookUp, MayAddFromItself) {
    PropertyLookUp p;
    p["first"] = std::string(100, 'v');
    for (int i = 0; i < 70; ++i)
        p["copy" + std::to_string(i)] = p["first"];
    EXPECT_EQ(p.GetString("copy69"), std::string(100, 'v'));
    p.Clear();
    p["Gain"] = " 2 ";
    p["Empty"];
    p.Merge(p, true, "In.", "");
    EXPECT_EQ(p.ToXml(""), "<Gain> 2 </Gain>\n<Empty></Empty>\n<In.Gain> 2 </In.Gain>\n");
    PropertyLookUp other;
    other["GAIN"] = "3";
    other["x"] = "";
    p.Merge(other, false, "in.", "");
    EXPECT_EQ(p.GetCount(), 4u); // replaces the existing pair, whatever its case
    EXPECT_EQ(p.GetAt(2), Pair("In.Gain", "3"));
    EXPECT_EQ(PropertyLookUp().ToXml("P"), "<P></P>");

    PropertyLookUp one,
        many; // each name twice, in two cases, and some that exist: the same as set one by one
    one["Name-7"] = many["Name-7"] = "kept";
    std::deque<Pair> pairs;
    for (int i = 0; i < 200; ++i) {
        pairs.emplace_back((i % 2 ? "name-" : "NAME-") + std::to_string(i / 2), std::to_string(i));
        one["P" + pairs.back().first] = pairs.back().second;
    }
    many.Merge(PropertyLookUp(pairs), false, "P", "");
    many.Merge(PropertyLookUp(std::deque<Pair>{{"PNAME-0", ""}}), true, "", "");
    EXPECT_EQ(many.ToXml(""), one.ToXml(""));
}

} // namespace
