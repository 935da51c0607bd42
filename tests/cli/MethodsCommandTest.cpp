#include "Child.h"

#include "hostkit/MethodTable.h"
#include "plugin/PluginFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

/// The plug-in's description of itself, without the command.
const PansharpDescription& AskPlugin() {
    static const fakehost::Plugin plugin;
    return plugin.Describe();
}

/// Replaces line feeds and margins by single spaces.
std::string Unwrapped(const std::string& text) {
    std::istringstream words(text);
    std::string joined;
    for (std::string word; words >> word;)
        joined += " " + word;
    return joined;
}

} // namespace

TEST(MethodsCommand, ListsWhatThePluginSays) {
    const child::Folder folder;
    const child::Outcome text = child::Run(folder, {"methods"});
    const child::Outcome listing = child::Run(folder, "methods --json");
    ASSERT_EQ(text.code, 0) << text.err;
    ASSERT_EQ(listing.code, 0) << listing.err;
    const auto object = nlohmann::json::parse(listing.out);
    EXPECT_EQ(object.at("ok"), true);
    const PansharpDescription& plugin = AskPlugin();
    ASSERT_EQ(object.at("methods").size(), plugin.methodCount);
    for (std::uint32_t i = 0; i < plugin.methodCount; ++i) {
        const PansharpMethod& method = plugin.methods[i];
        const bool isDefault = method.isRecommended != 0;
        EXPECT_THAT(text.out,
                    HasSubstr("\n" + std::string(method.keyword) + (isDefault ? " (the default)\n" : "\n")));
        EXPECT_EQ(object.at("methods").at(i).at("recommended"), isDefault);
        EXPECT_THAT(Unwrapped(text.out), HasSubstr(" use " + std::string(method.advice) + " needs "));
        const auto& listed = object.at("methods").at(i);
        EXPECT_EQ(listed.at("keyword"), method.keyword);
        EXPECT_EQ(listed.at("formula"), method.formula);
        EXPECT_EQ(listed.at("minimum_bands"), method.minimumBands);
        const auto properties = hostkit::PropertiesOf(method);
        ASSERT_EQ(listed.at("properties").size(), properties.size());
        for (std::size_t p = 0; p < properties.size(); ++p) {
            EXPECT_THAT(text.out, HasSubstr("\n    " + std::string(properties[p].name) + " "));
            EXPECT_EQ(listed.at("properties").at(p).at("default"), properties[p].defaultValue);
        }
    }
    ASSERT_EQ(object.at("properties").size(), plugin.propertyCount);
    for (std::uint32_t p = 0; p < plugin.propertyCount; ++p)
        EXPECT_THAT(text.out, HasSubstr("\n    " + std::string(plugin.properties[p].name) + " "));
}

TEST(MethodsCommand, VersionAndHelpAsOtherProgramsHaveThem) {
    const child::Folder folder;
    for (const char* asked : {"--version", "--version sharpen", "version"})
        EXPECT_THAT(child::RunWell(folder, asked).out,
                    AllOf(testing::StartsWith("pansharp " PANSHARP_VERSION "\n"),
                          HasSubstr("\nvector instructions "),
                          HasSubstr(std::string("plug-in Pansharp ") + AskPlugin().version),
                          HasSubstr("Pansharp.process")));
    const auto versions = nlohmann::json::parse(child::RunWell(folder, "version --json").out);
    EXPECT_EQ(versions.at("version"), PANSHARP_VERSION);
    EXPECT_EQ(versions.at("plugin").at("version"), AskPlugin().version);
    for (const child::Arguments asked : {"", "sharpen", "info"})
        EXPECT_EQ(child::RunWell(folder, "help" + asked).out, child::RunWell(folder, asked + "--help").out);
}

/// A form can be built from it: kinds of values, words to choose from, and the plug-in's methods.
TEST(MethodsCommand, OptionsAsJson) {
    const child::Folder folder;
    const auto object = nlohmann::json::parse(child::RunWell(folder, {"--options-json"}).out);
    std::map<std::string, std::string> options;
    for (const auto& option : object.at("commands").at(0).at("options"))
        options[option.at("name")] = std::string(option.at("type")) + option.at("choices").dump();
    EXPECT_THAT(options.at("--method"), AllOf(testing::StartsWith("choice["), HasSubstr("\"injection\"")));
    EXPECT_EQ(options.at("--resampling"), R"(choice["bilinear","cubic"])");
    EXPECT_EQ(options.at("--weights"), R"(text["equal","auto"])");
    EXPECT_EQ(options.at("--bit-depth") + options.at("--alpha"), "integer[]flag[]");
    EXPECT_EQ(options.at("--preview") + options.at("--infrared"), "file[]file[]");
}

/// The environment names a missing file, or one that is not a library.
TEST(MethodsCommand, APluginThatDoesNotWorkIsExplained) {
    const child::Folder folder;
    std::ofstream(folder / "text.process") << "no library";
    for (const char* name : {"nowhere.process", "text.process"}) {
        SCOPED_TRACE(name);
        const child::Outcome methods = child::Run(folder, "methods --json", name);
        EXPECT_EQ(methods.code, 1);
        EXPECT_THAT(methods.err, AllOf(testing::StartsWith("pansharp: error: "), HasSubstr(name)));
        const auto object = nlohmann::json::parse(methods.out);
        EXPECT_EQ(object.at("ok"), false);
        EXPECT_THAT(std::string(object.at("status").at(0).at("message")), HasSubstr(name));

        const child::Outcome version = child::Run(folder, {"--version"}, name);
        EXPECT_EQ(version.code, 1);
        EXPECT_THAT(version.out, HasSubstr("pansharp " PANSHARP_VERSION "\n"));
        EXPECT_THAT(version.err, HasSubstr(name));
    }
    const child::Outcome given =
        child::RunWell(folder, {"methods", "--plugin", PANSHARP_PLUGIN_FILE}, "nowhere.process");
    EXPECT_THAT(given.out, Not(HasSubstr("nowhere")));
}
