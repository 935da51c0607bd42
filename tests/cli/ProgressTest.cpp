#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <sys/ioctl.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

/// Runs the command with a terminal of so many columns as standard error; returns what the terminal got.
std::string RunOnTerminal(const child::Folder& folder, const child::Arguments& arguments,
                          std::size_t columns) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return "no terminal";
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
    winsize size{};
    size.ws_row = 24;
    size.ws_col = static_cast<unsigned short>(columns);
    ioctl(slave, TIOCSWINSZ, &size);
    child::Running running(folder, arguments, {}, {}, slave);
    close(slave);
    std::string text;
    char buffer[4096];
    for (ssize_t got = 0; (got = read(master, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(got));
    close(master);
    EXPECT_EQ(running.Finish().code, 0);
    return text;
}

} // namespace

TEST(Progress, DrawsABarThatFitsTheTerminalAndGoesAway) {
    const child::Folder folder;
    const scene::Pair pair(folder, 2, 8);
    for (const std::size_t columns : {120u, 40u}) {
        const std::string text =
            RunOnTerminal(folder, "sharpen pan.tif ms.tif -o o.tif --overwrite --window 1", columns);
        const std::string erase = "\r\x1b[K";
        ASSERT_GT(text.size(), erase.size()) << text;
        EXPECT_EQ(text.substr(text.size() - erase.size()), erase);
        const auto last = text.rfind(erase, text.size() - erase.size() - 1) + erase.size();
        const std::string bar = text.substr(last, text.size() - erase.size() - last);
        EXPECT_THAT(bar, MatchesRegex(" 100 % .=+. ")); // nothing is left to wait for
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
