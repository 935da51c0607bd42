#include "fundament/Status.h"

#include <gtest/gtest.h>

#include <regex>

namespace {

using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StatusItem;

TEST(StatusXml, WritesReports) {
    Status s;
    EXPECT_EQ(s.ToXml(true) + s.ItemsToXml(false), "");
    s.Add(0x3905, "1 < 2 & \"3\"", "kova.tessara.Pixmere::PXL::Init", "d");
    EXPECT_EQ(s.ToXml(false),
              "<Status>\n\t<Item>\n\t\t<ID>003905</ID>\n\t\t<Source>Pixmere.PXL.Init</Source>\n\t\t"
              "<Message>1 &lt; 2 &amp; \"3\"</Message>\n\t\t<Details>d</Details>\n\t</Item>\n</Status>");
    const std::regex timed(
        "\n\t<Item>\n\t\t<Time>\\d{4}(-\\d\\d){2}T(\\d\\d[:.]){3}\\d{3}</Time>\n\t\t<ID>003905</ID>"
        "[\\s\\S]*</Item>");
    EXPECT_TRUE(std::regex_match(s.ItemsToXml(true), timed)) << s.ItemsToXml(true);
    s.Reset(0, "", "", "");
    s.Add(StatusItem::UnknownId, "bell \a <&>", "", ""); // XML cannot hold it
    EXPECT_EQ(s.ItemsToXml(false), "\n\t<Item>\n\t\t<ID>Unknown ID</ID>\n\t\t<Source></Source>\n\t\t"
                                   "<Message>bell \a <&></Message>\n\t\t<Details></Details>\n\t</Item>");
    EXPECT_FALSE(s.FromXml(s.ToXml(false)));
}

TEST(StatusXml, ReadsItsReports) {
    Status s;
    s.Add(1, "<Item>&amp;]]>", "A.B", "line\r\nline\n");
    s.Add(StatusItem::UnknownId, "caf\xE9 \xC3\xA9", "C", std::string(100000, '"'));
    s.Add(0, "", "", "");
    Status appended = s;
    ASSERT_TRUE(appended.FromXml(s.ToXml(true)));
    EXPECT_TRUE(appended.InsertFromXml(s.ToXml(false)));
    ASSERT_EQ(appended.GetCount(), 9u);
    for (std::uint32_t i = 0; i < 9; ++i)
        EXPECT_EQ(appended.GetItem(i), s.GetItem(i < 3 ? 2 - i : i % 3)) << i;
    EXPECT_FALSE(s.FromXml("") || s.InsertFromXml("") || s.FromXml("<Status><Item></Status>"));
    EXPECT_TRUE(s.FromXml("<Report/>") && s.FromXml("<Status>\n</Status>"));
    EXPECT_EQ(s.GetCount(), 3u);
}

TEST(StatusXml, ReadsForeignReports) {
    const std::pair<const char*, std::uint32_t> cases[] = {
        {"unknown id", 0xFFFFFFFFu}, {"003905", 0x3905},   {"FFFFFFFF", 0}, {"-1", 0}, {"1FFFFFFFF", 0},
        {"FFFFFFFFFFFFFFFFFFFF", 0}, {" -2", 0xFFFFFFFEu}, {"+a1g2", 0xA1}, {"x", 0},  {"", 0}};
    for (const auto& [text, id] : cases) {
        Status s;
        EXPECT_TRUE(s.FromXml("<r><Status>\n <!-- none -->\n<Item>\n<Message>m</Message><ID>" +
                              std::string(text) + "</ID></Item>\n</Status></r>"));
        ASSERT_EQ(s.GetCount(), 1u);
        EXPECT_EQ(s.GetItem(0), (StatusItem{id, "m", "", ""})) << text;
    }
    std::string many = "<Status>"; // more elements would exceed the bounds
    for (int i = 0; i < 200000; ++i)
        many += "<i/>";
    Status s;
    EXPECT_TRUE(s.InsertFromXml(many + "</Status>"));
    EXPECT_EQ(s.GetCount(), 200000u);
}

} // namespace
