#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

TEST(Progress, DrawsABarThatFitsTheTerminalAndGoesAway) {
    const child::Folder folder;
    const scene::Pair pair(folder, 2, 8);
    for (const auto columns : std::initializer_list<unsigned short>{120, 40}) {
        const std::string text =
            child::RunAt({columns, false}, folder, "sharpen pan.tif ms.tif -o o.tif --overwrite --window 1")
                .out;
        const std::string erase = "\r\x1b[K";
        ASSERT_GT(text.size(), erase.size()) << text;
        EXPECT_EQ(text.substr(text.size() - erase.size()), erase);
        const auto last = text.rfind(erase, text.size() - erase.size() - 1) + erase.size();
        const std::string bar = text.substr(last, text.size() - erase.size() - last);
        EXPECT_THAT(bar, MatchesRegex(" 100 % .=+. ")); // no time is left
        EXPECT_LT(bar.size(), columns);
        EXPECT_THAT(text, HasSubstr("   0 % ["));
        EXPECT_THAT(text, Not(HasSubstr("% done")));
    }
}

TEST(Progress, PrintsEachTenthOnceWithoutATerminal) {
    const child::Folder folder;
    const scene::Pair pair(folder, 2, 8);
    const child::Outcome outcome = child::RunWell(folder, "sharpen pan.tif ms.tif -o o.tif --window 1");
    std::istringstream lines(outcome.err);
    int tenths = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("% done") == std::string::npos) continue;
        EXPECT_THAT(line, testing::StartsWith(std::to_string(++tenths * 10) + " % done"));
    }
    EXPECT_EQ(tenths, 10);
}
