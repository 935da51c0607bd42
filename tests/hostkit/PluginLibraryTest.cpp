#include "hostkit/PluginLibrary.h"

#include "hostkit/HostKitStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using hostkit::FindPlugin;
using hostkit::PluginLibrary;
using KOVA::Tessara::Fundament::Status;
using testing::HasSubstr;

TEST(PluginLibrary, RefusesWhatItCannotUse) {
    const std::filesystem::path text = std::filesystem::temp_directory_path() / "hostkit-no-library.process";
    std::ofstream(text) << "no library\n";
    const struct {
        std::string path;
        std::uint32_t id;
        const char* says;
    } cases[] = {
        {"/nowhere/Pansharp.process", hostkit::HostKitStatus::PluginNotFound, "PANSHARP_PLUGIN"},
        {"/", hostkit::HostKitStatus::PluginNotFound, "no plug-in file '/'"},
        {"libc.so.6", hostkit::HostKitStatus::PluginNotFound, "libc.so.6"}, // not from the system's folders
        {text.string(), hostkit::HostKitStatus::PluginNotLoaded, "cannot be loaded"},
        {NO_PLUGIN_FILE, hostkit::HostKitStatus::PluginLacksEntry, "Pansharp_Describe"},
        {INCOMPLETE_FILE, hostkit::HostKitStatus::PluginLacksEntry, "Tessara_RasterProcess_CreateObject"},
        {OTHER_CONTRACT_FILE, hostkit::HostKitStatus::PluginOfAnotherContract, "install the plug-in"},
    };
    for (const auto& c : cases) {
        Status status;
        EXPECT_EQ(PluginLibrary::Load(c.path, status), nullptr) << c.path;
        ASSERT_EQ(status.GetCount(), 1u) << c.path;
        EXPECT_EQ(status.GetItem(0).id, c.id) << status.ToText();
        EXPECT_THAT(status.GetItem(0).message, HasSubstr(c.says));
        EXPECT_THAT(status.GetItem(0).message, HasSubstr(c.path));
    }
    std::filesystem::remove(text);
}

// The test program lies in bin/ and the plug-in in lib/ beside it, as installed.
TEST(PluginLibrary, IsFoundByPathThenVariableThenPlace) {
    unsetenv(hostkit::pluginVariable);
    Status status;
    EXPECT_EQ(FindPlugin({}, status), PANSHARP_PLUGIN_FILE);
    setenv(hostkit::pluginVariable, "/elsewhere/Pansharp.process", 1);
    EXPECT_EQ(FindPlugin({}, status), "/elsewhere/Pansharp.process");
    EXPECT_EQ(FindPlugin("mine.process", status), "mine.process");
    unsetenv(hostkit::pluginVariable);
    EXPECT_EQ(status.GetCount(), 0u);
}

} // namespace
