// Keys from a console and from a pipe, as the questions read them.
#include "fundament/Console.h"
#include "fundament/Platform.h"

#include "support/System.h"

#include <gtest/gtest.h>

#include <thread>
#include <windows.h>

namespace {

using namespace KOVA::Tessara::Fundament;

// Replaces standard input while it lives.
class Input {
public:
    explicit Input(HANDLE other) : before(GetStdHandle(STD_INPUT_HANDLE)), now(other) {
        SetStdHandle(STD_INPUT_HANDLE, now);
    }
    ~Input() {
        SetStdHandle(STD_INPUT_HANDLE, before);
        CloseHandle(now);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    const HANDLE before, now;
};

void Press(HANDLE console, wchar_t key) {
    INPUT_RECORD event{};
    event.EventType = KEY_EVENT;
    event.Event.KeyEvent.bKeyDown = TRUE;
    event.Event.KeyEvent.wRepeatCount = 1;
    event.Event.KeyEvent.uChar.UnicodeChar = key;
    DWORD written = 0;
    WriteConsoleInputW(console, &event, 1, &written);
}

TEST(PlatformWindows, TakesOneKey) {
    AllocConsole();
    const HANDLE console =
        CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    if (console == INVALID_HANDLE_VALUE) GTEST_SKIP() << "no console here";
    const Input input(console);
    const std::pair<std::wstring, int> cases[] = {
        {L"q\r y", 1}, {L"N", 0}, {std::wstring(L"\0\x00E4o", 3), 1}, {L"a", 2}, {L"\x1A", 0}};
    for (const auto& [keys, answer] : cases) {
        const bool append = answer == 2 || keys.size() == 3;
        Press(console, append ? L'C' : L'Y'); // typed ahead: must not count as an answer
        std::jthread typist([&](const std::stop_token& stop) {
            Sleep(300);
            for (std::size_t i = 0; !stop.stop_requested(); ++i, Sleep(50))
                Press(console, keys[std::min(i, keys.size() - 1)]);
        });
        const std::string file = support::ExistingFile();
        EXPECT_EQ(append ? static_cast<int>(ConfirmOverwriteOrAppend(file, false, false))
                         : ConfirmOverwrite(file, false),
                  answer);
    }
}

// From a pipe: bytes, and not more than the answer takes.
TEST(PlatformWindows, ReadsFromPipes) {
    const std::tuple<std::string, int, std::string> cases[] = {
        {"q\nyrest", 1, "rest"}, {"no", 0, "o"}, {"x", 0, ""}};
    for (const auto& [bytes, answer, rest] : cases) {
        HANDLE reader = nullptr, writer = nullptr;
        ASSERT_TRUE(CreatePipe(&reader, &writer, nullptr, 0));
        DWORD count = 0;
        WriteFile(writer, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
        CloseHandle(writer);
        const Input input(reader);
        EXPECT_FALSE(IsInteractive());
        EXPECT_EQ(ConfirmOverwrite(support::ExistingFile(), false), answer) << bytes;
        char left[16];
        if (!ReadFile(reader, left, sizeof left, &count, nullptr)) count = 0;
        EXPECT_EQ(std::string(left, count), rest);
    }
}

// Bytes that are not UTF-8 are text in the system's code page.
TEST(PlatformWindows, PathsComeFromBytes) {
    EXPECT_EQ(Platform::ToPath("\xC3\xA4\xF0\x9F\x98\x80").native(), L"\u00E4\U0001F600");
    EXPECT_EQ(Platform::FromPath(L"\u00E4\U0001F600"), "\xC3\xA4\xF0\x9F\x98\x80");
    if (GetACP() != 1252) GTEST_SKIP() << "another code page";
    EXPECT_EQ(Platform::ToPath("\xE4\x80").native(), L"\u00E4\u20AC");
}

} // namespace
