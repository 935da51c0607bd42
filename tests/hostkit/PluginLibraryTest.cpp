#include "hostkit/PluginLibrary.h"

#include "CodedImage.h"
#include "fundament/Platform.h"
#include "hostkit/ArrayWorkspace.h"
#include "hostkit/HostKitStatus.h"
#include "support/System.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace testimages;
using hostkit::FindPlugin;
using hostkit::PluginLibrary;
using hostkit::Process;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
using testing::HasSubstr;

TEST(PluginLibrary, RefusesWhatItCannotUse) {
    namespace Platform = KOVA::Tessara::Fundament::Platform;
    const support::Folder folder;
    const std::string text = Platform::FromPath(folder.path) + "/\xC3\xA4\xE6\x9C\xA8.process";
    std::ofstream(Platform::ToPath(text)) << "no library\n";
    const struct {
        std::string path;
        std::uint32_t id;
        const char* says;
    } cases[] = {
        {"/nowhere/Pansharp.process", hostkit::HostKitStatus::PluginNotFound, "PANSHARP_PLUGIN"},
        {"/", hostkit::HostKitStatus::PluginNotFound, "no plug-in file '/'"},
        // Not found in the system's folders, and devices are refused.
        {support::isWindows ? "kernel32.dll" : "libc.so.6", hostkit::HostKitStatus::PluginNotFound,
         "no plug-in file"},
        {support::isWindows ? "NUL" : "/dev/null", hostkit::HostKitStatus::PluginNotFound, "no plug-in file"},
        {std::string(300, 'x'), hostkit::HostKitStatus::PluginNotFound, "no plug-in file"},
        {text, hostkit::HostKitStatus::PluginNotLoaded, "cannot be loaded"},
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
}

// The test program is in bin/ and the plug-in in lib/ beside it, as installed.
TEST(PluginLibrary, IsFoundByPathThenVariableThenPlace) {
    support::SetVariable(hostkit::pluginVariable, nullptr);
    Status status;
    EXPECT_TRUE(std::filesystem::equivalent(FindPlugin({}, status), PANSHARP_PLUGIN_FILE));
    support::SetVariable(hostkit::pluginVariable, "/elsewhere/Pansharp.process");
    EXPECT_EQ(FindPlugin({}, status), "/elsewhere/Pansharp.process");
    EXPECT_EQ(FindPlugin("mine.process", status), "mine.process");
    support::SetVariable(hostkit::pluginVariable, nullptr);
    EXPECT_EQ(status.GetCount(), 0u);
}

TEST(PluginLibrary, ProcessGivesBackWhatItTook) {
    Status status;
    const auto plugin = PluginLibrary::Load(PANSHARP_PLUGIN_FILE, status);
    ASSERT_NE(plugin, nullptr) << status.ToText();
    EXPECT_STREQ(plugin->GetDescription().name, "Pansharp");
    const CodedImage<unsigned char> pan(MakeInfo(8, 8, 1, 8)), ms(MakeInfo(4, 4, 2, 8, 2.0));
    hostkit::ArrayWorkspace workspace(pan.info);
    workspace.SetImage("ms", ms.Whole());
    hostkit::ArrayRaster panRaster(pan.info, pan.Whole().block);
    NameValueMap properties;
    properties["MSImageID"] = "ms";
    properties["outputNBands"] = "2";
    {
        Process process(*plugin, properties, status);
        ASSERT_TRUE(process) << status.ToText();
        auto request = hostkit::MakeRequest(pan.info, {2, 3, 8, 8});
        process->SetInputRaster(&panRaster);
        process->SetWorkspace(static_cast<KOVA::Tessara::Pixmere::IRasterWorkspace*>(&workspace));
        process->SetAoi(&request);
        EXPECT_TRUE(process->Init() && process->SetWindow(2, 3, 8, 8)) << process->GetStatus().ToText();
        EXPECT_EQ(workspace.GetOutstandingChains(), 1u);
    }
    EXPECT_EQ(workspace.GetOutstandingChains(), 0u);
    Process none(*plugin, NameValueMap(), status); // a process needs a property
    EXPECT_FALSE(none);
    EXPECT_EQ(status.GetItem(0).id, hostkit::HostKitStatus::ProcessNotCreated);
}

} // namespace
