// Keys from a terminal and from a pipe, as the questions read them.
#include "fundament/Console.h"

#include "support/System.h"

#include <gtest/gtest.h>

#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace {

using namespace KOVA::Tessara::Fundament;

const std::string existing = support::ExistingFile(); // not of a child, which would leave it
int Overwrite() { return ConfirmOverwrite(existing, false); }
int OverwriteOrAppend() { return static_cast<int>(ConfirmOverwriteOrAppend(existing, false, false)); }
int SurvivingOverwrite() {
    std::signal(SIGINT, [](int) {});
    return Overwrite();
}

// A terminal with a child process that asks a question.
class Terminal {
public:
    explicit Terminal(int (*question)()) {
        openpty(&keyboard, &screen, nullptr, nullptr, nullptr);
        tcgetattr(screen, &before);
        EXPECT_EQ(write(keyboard, "y", 1), 1); // typed ahead: must not count as an answer
        WaitFor("y");                          // it has arrived and is shown
        child = fork();
        if (child == 0) {
            login_tty(screen);
            _exit(question());
        }
        WaitFor("] ");
    }
    ~Terminal() {
        close(keyboard);
        close(screen);
    }

    // Types until the child ends, one key every tenth of a second, repeating the last one.
    int Type(const std::vector<std::string>& strokes) {
        int status = 0;
        for (std::size_t i = 0; i < 100; ++i) {
            const std::string& stroke = strokes[std::min(i, strokes.size() - 1)];
            EXPECT_EQ(write(keyboard, stroke.data(), stroke.size()), static_cast<ssize_t>(stroke.size()));
            for (int wait = 0; wait < 10; ++wait) {
                Read(10);
                if (waitpid(child, &status, WNOHANG) != child) continue;
                Read(50); // its last output
                return status;
            }
        }
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        ADD_FAILURE() << "no answer was taken";
        return status;
    }

    [[nodiscard]] tcflag_t Flags() const {
        termios now{};
        tcgetattr(screen, &now);
        return now.c_lflag & (ICANON | ECHO | ISIG);
    }
    [[nodiscard]] bool IsAsBefore() const { return Flags() == (before.c_lflag & (ICANON | ECHO | ISIG)); }

    std::string shown;

private:
    void WaitFor(const char* text) {
        for (int i = 0; i < 100 && shown.find(text) == std::string::npos; ++i)
            Read(100);
    }

    void Read(int milliseconds) {
        char buffer[256];
        pollfd output{keyboard, POLLIN, 0};
        if (poll(&output, 1, milliseconds) > 0 && output.revents & POLLIN)
            shown.append(buffer, static_cast<std::size_t>(
                                     std::max<ssize_t>(0, read(keyboard, buffer, sizeof buffer))));
    }

    int keyboard = -1, screen = -1;
    pid_t child = 0;
    termios before{};
};

TEST(PlatformPosix, TakesOneKey) {
    const struct {
        int (*question)();
        std::vector<std::string> strokes;
        int answer; // or minus the signal that ended it
        const char* echo;
    } cases[] = {
        {Overwrite, {"q\r", "y"}, 1, "[N] Y\r\n"},
        {Overwrite, {"N"}, 0, "[N] N\r\n"},
        {Overwrite, {"\x04"}, 0, "[N] N\r\n"},                          // the end-of-file key
        {SurvivingOverwrite, {"\x03"}, 0, "[N] N\r\n"},                 // interrupted, but still running
        {Overwrite, {"\x1A", "y"}, 1, "[N] Y\r\n"},                     // stopped and continued
        {OverwriteOrAppend, {"\x1B[A", "\x1BOC", "o"}, 1, "[C] O\r\n"}, // arrow keys contain an A and a C
        {OverwriteOrAppend, {"a"}, 2, "[C] A\r\n"},
        {OverwriteOrAppend, {"\xC3\xA1", "c"}, 0, "[C] C\r\n"},
        {Overwrite, {"\x03"}, -SIGINT, "[N] "},
        {Overwrite, {"\x1C"}, -SIGQUIT, "[N] "},
    };
    for (const auto& c : cases) {
        Terminal terminal(c.question);
        SCOPED_TRACE(terminal.shown);
        EXPECT_EQ(terminal.Flags(), tcflag_t{ISIG}) << "keys would wait for Enter, or show";
        const int status = terminal.Type(c.strokes);
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), c.answer);
        EXPECT_TRUE(terminal.IsAsBefore());
        EXPECT_NE(terminal.shown.find(c.echo), std::string::npos) << terminal.shown;
    }
}

// From a pipe: bytes, and not more than the answer takes.
TEST(PlatformPosix, ReadsFromPipes) {
    const std::tuple<std::string, int, std::string> cases[] = {
        {"q\nyrest", 1, "rest"}, {"no", 0, "o"}, {"x", 0, ""}};
    for (const auto& [input, answer, rest] : cases) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        ASSERT_EQ(write(ends[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
        close(ends[1]);
        const pid_t child = fork();
        if (child == 0) {
            dup2(ends[0], STDIN_FILENO);
            close(STDERR_FILENO);
            _exit(IsInteractive() ? 99 : Overwrite());
        }
        int status = 0;
        waitpid(child, &status, 0);
        char left[16];
        EXPECT_EQ(WEXITSTATUS(status), answer) << input;
        EXPECT_EQ(std::string(left, static_cast<std::size_t>(read(ends[0], left, sizeof left))), rest);
        close(ends[0]);
    }
}

} // namespace
