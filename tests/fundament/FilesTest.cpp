#include "fundament/Files.h"

#include "fundament/Platform.h"
#include "support/System.h"
#include "support/WrittenTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using support::SetVariable;
using support::SetWritten;
using namespace KOVA::Tessara::Fundament;
using namespace std::string_literals;

class Files : public testing::Test {
protected:
    Files() : folder(Platform::FromPath(made.path) + "/\xC3\xA4\xE4\xB8\xAD") {
        fs::create_directories(At(""));
        fs::permissions(At(""), fs::perms::all);
        std::ofstream(At("/file")) << "x";
    }

    [[nodiscard]] fs::path At(const std::string& name) const { return Platform::ToPath(folder + name); }

    const support::Folder made;
    const std::string folder;
};

TEST_F(Files, TellsWhatMayBeDone) {
    EXPECT_TRUE(FileExists(folder) && IsReadWritable(folder + "/file"));
    for (const std::string& none : {""s, folder + "/none", folder + "/file/none", folder + "/file\0.txt"s,
                                    folder + "/" + std::string(300, 'x'), std::string(100000, 'x')})
        EXPECT_FALSE(FileExists(none) || IsReadable(none) || IsWritable(none)) << none.substr(0, 200);
    for (const std::string& device : {"NUL"s, "CON"s, folder + "/COM1"}) // in any folder
        EXPECT_FALSE(FileExists(device)) << device;
    fs::permissions(At("/file"), fs::perms{0444});
    const support::OrdinaryUser user;
    EXPECT_TRUE(FileExists(folder + "/file") && IsReadable(folder + "/file"));
    EXPECT_FALSE(IsWritable(folder + "/file") || IsReadWritable(folder + "/file"));
    EXPECT_TRUE(user.IsBack());
    fs::permissions(At("/file"), fs::perms::all);
}

TEST_F(Files, ComparesTimesInUtc) {
    using namespace std::chrono;
    SetVariable("TZ", "XYZ-05:30");
    const sys_time<milliseconds> written = sys_days(2024y / March / 7) + 14h + 5min + 9s + 42ms;
    SetWritten(At("/file"), written);
    const struct {
        CalendarTime time;
        bool newer;
    } cases[] = {
        {{2024, 3, 7, 14, 5, 9, 41}, true}, {{2024, 3, 7, 14, 5, 9, 42}, false},
        {{1601, 1, 1, 0, 0, 0, 0}, true},   {{30827, 12, 31, 23, 59, 59, 999}, false},
        {{2023, 2, 29, 0, 0, 0, 0}, false}, {{2023, 13, 1, 0, 0, 0, 0}, false},
        {{2023, 1, 1, 24, 0, 0, 0}, false}, {{2023, 1, 1, 0, -1, 0, 0}, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(IsFileNewer(folder + "/file", c.time), c.newer) << c.time.year << " " << c.time.thousandths;
    SetVariable("TZ", nullptr);
    SetWritten(At("/file"), written + 500ns);
    EXPECT_TRUE(IsFileNewer(folder + "/file", {2024, 3, 7, 14, 5, 9, 42}));
    EXPECT_FALSE(IsFileNewer(folder, {1990, 1, 1, 0, 0, 0, 0}) || IsFileNewer(folder + "/none", {}));
}

TEST_F(Files, CreatesFolders) {
    if (!support::isWindows) fs::create_directory_symlink(At(""), At("/link"));
    for (const char* good : {"/a/b/c", "/a/b/c", "/a/d/", "", "/link", "/link/e/../f"})
        EXPECT_TRUE(CreateDirectories(folder + good) && fs::is_directory(At(good))) << good;
    for (const std::string& bad : {folder + "/file", folder + "/file/a", folder + "/z\0"s, ""s})
        EXPECT_FALSE(CreateDirectories(bad)) << bad;
    EXPECT_FALSE(FileExists(folder + "/z"));
    const std::uint64_t free = GetDiskFreeBytes(folder + "/file");
    EXPECT_GT(free, 0u);
    EXPECT_LT(free, std::uint64_t{1} << 60);
    EXPECT_EQ(GetDiskFreeBytes(folder + "/none/file"), ~std::uint64_t{0});
    EXPECT_EQ(Platform::ToPath(GetWorkingDirectory()), fs::current_path());
}

TEST_F(Files, NamesSpecialFolders) {
    if (support::isWindows) {
        for (const int code : {0, 5, 26, 28, 35, 38, 39, 40})
            EXPECT_TRUE(GetSpecialFolder(code).ends_with('\\')) << code;
        EXPECT_EQ(GetSpecialFolder(40), Platform::Environment("USERPROFILE") + "\\");
        EXPECT_EQ(GetSpecialFolder(-1) + GetSpecialFolder(200), "");
        return;
    }
    SetVariable("HOME", folder.c_str());
    SetVariable("XDG_CONFIG_HOME", folder.c_str());
    SetVariable("XDG_DATA_HOME", "relative/is/ignored");
    SetVariable("XDG_DATA_DIRS", "/first:/second");
    std::ofstream(At("/user-dirs.dirs")) << "# XDG_PICTURES_DIR=\"/no\"\n XDG_PICTURES_DIR=\"$HOME/Bilder\"\n"
                                            "XDG_DESKTOP_DIR=\"relative\"\nXDG_DOCUMENTS_DIR=\"/d\\\"";
    const std::pair<int, std::string> cases[] = {{0, folder + "/Desktop\\"},
                                                 {5, "/d\\"},
                                                 {39, folder + "/Bilder\\"},
                                                 {26, folder + "\\"},
                                                 {28, folder + "/.local/share\\"},
                                                 {35, "/first\\"},
                                                 {38, "/opt\\"},
                                                 {40, folder + "\\"},
                                                 {-1, ""},
                                                 {99, ""}};
    for (const auto& [code, path] : cases)
        EXPECT_EQ(GetSpecialFolder(code), path) << code;
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"})
        SetVariable(name, nullptr);
    EXPECT_EQ(GetSpecialFolder(40).back(), '\\'); // the account's home
}

} // namespace
