#include "fundament/Status.h"

#include <gtest/gtest.h>

namespace {

using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StatusItem;

TEST(Status, KeepsOrderAndSources) {
    Status s, causes;
    s.Reset(9, "not kept", "PanSharp Process", "not kept");
    EXPECT_EQ(s.GetCount(), 0u);
    s.Add(1, "a", "", "d");
    s.Add(2, "b", "Other");
    causes.Insert(3, "c");
    causes.Insert(4, "d");
    s.Append(causes);
    s.Insert(5, "e");
    EXPECT_EQ(s.ToText(), "[PanSharp Process : 000005] Error: e\n[PanSharp Process : 000001] Error: a\nd\n"
                          "[Other : 000002] Error: b\nd\nc");
    EXPECT_TRUE(s.Contains({1, "a", "PanSharp Process", "d"}));
    EXPECT_FALSE(s.Contains({1, "a", "PanSharp Process", ""}));
}

TEST(Status, MayTakeFromItself) {
    Status s;
    s.Add(1, "message", std::string(50, 's'));
    for (int i = 0; i < 5; ++i)
        s.Append(s);
    s.Add(s.GetItem(0));
    s.Insert(2, s.GetItem(31).message, s.GetItem(32).source);
    EXPECT_EQ(s.GetCount(), 34u);
    EXPECT_EQ(s.GetItem(0), (StatusItem{2, "message", std::string(50, 's'), ""}));
    s.Reset(0, "", s.GetItem(33).source, "");
    s.Add(3, "m", "");
    EXPECT_EQ(s.GetItem(0).source, std::string(50, 's'));
}

TEST(Status, FormatsLines) {
    const struct {
        StatusItem item;
        const char *tag, *line;
    } cases[] = {
        {{0x3905, "M", "Pixmere.PXL.Pansharp.Init", ""},
         "Pansharp",
         "[Pansharp]: [Pixmere.PXL.Pansharp.Init : 003905] Error: M"},
        {{0x3905, "M", "", "why"}, "Pansharp", "M\nwhy"},
        {{0, "M", "S", ""}, nullptr, "[S] M"},
        {{StatusItem::UnknownId, "M", "S", ""}, nullptr, "[S : Unknown ID] Error: M"},
        {{0xFEDCBA98, "", "kova.TESSARA.A.KOVA.Tessara.B", ""}, nullptr, "[A.B : FEDCBA98] Error: "},
        {{1, "100%s", "%n%s", "%d"}, "%x", "[%x]: [%n%s : 000001] Error: 100%s\n%d"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.item.FormatLine(c.tag), c.line);
    EXPECT_EQ(Status().ToText("tag"), "");
}

} // namespace
