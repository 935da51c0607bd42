#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using child::Arguments;
using testing::HasSubstr;

namespace {

/// A command line, its exit code, a word of its output, and which files appear or disappear in the folder.
struct Line {
    Arguments arguments;
    int code;
    const char* says;
    const char* made = nullptr;
};

} // namespace

TEST(SceneInput, StandsWhereAPairMayStand) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    std::ofstream(folder / "broken.pansharp") << "{\"pansharp_scene\": 1,";
    const Line lines[] = {
        {{"sharpen", "pan.tif", "ms.tif", "-o", "a.pansharp"}, 0, "described in", "a.pansharp"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "a.pansharp"}, 1, "exists"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "scene.json", "-f", "pansharp", "-b", "3,1", "-r",
          "bilinear"},
         0,
         "2 bands",
         "scene.json"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "once.tif", "-b", "3,1", "-r", "bilinear"},
         0,
         "2 bands",
         "once.tif"},
        {{"sharpen", "scene.json", "-o", "twice.tif"}, 0, "2 bands", "twice.tif"},
        {{"sharpen", "scene.json", "-o", "chosen.tif", "-b", "3,2"}, 0, "2 bands", "chosen.tif"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "3_2.tif", "-b", "3,2", "-r", "bilinear"},
         0,
         "2 bands",
         "3_2.tif"},
        {{"sharpen", "a.pansharp", "-o", "b.tif", "--dry-run"}, 0, "bands"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "b.pansharp", "--dry-run"}, 0, "bands"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "a.pansharp", "--dry-run"}, 1, "exists"},
        {{"info", "a.pansharp"}, 0, "the usual value"},
        {{"assess", "twice.tif", "--pan", "scene.json"}, 0, "bilinear"},
        {{"sharpen", "a.pansharp", "-o", "b.tif", "--method", "kova"},
         2,
         "--method: 'a.pansharp' already says"},
        {{"sharpen", "a.pansharp", "-o", "b.tif", "--set", "x=1"}, 2, "--set: 'a.pansharp' already says"},
        {{"sharpen", "a.pansharp", "-o", "b.pansharp"}, 2, "already has a description"},
        {{"sharpen", "a.pansharp", "-o", "a.pansharp", "--of", "GTiff", "--overwrite"},
         1,
         "is the description of the scene"},
        {{"sharpen", "a.pansharp", "ms.tif", "-o", "b.tif"}, 1, "'a.pansharp'"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "b.pansharp", "--preview", "b.png"},
         2,
         "no pixels to make a picture"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "b.pansharp", "--co", "A=B"}, 1, "no creation options"},
        {{"sharpen", "pan.tif", "ms.tif", "-o", "pan.tif", "-f", "PANSHARP", "--overwrite"},
         1,
         "one of the inputs"},
        {{"sharpen", "pan.tif", "a.pansharp", "-o", "b.pansharp"}, 1, "is a description of a scene"},
        {{"sharpen", "broken.pansharp", "-o", "b.tif"},
         2,
         "'broken.pansharp' cannot be used: it is not JSON"},
        {{"info", "nowhere.pansharp"}, 2, "'nowhere.pansharp' is empty or cannot be opened"},
    };
    for (const Line& line : lines) {
        SCOPED_TRACE(child::AsTyped(line.arguments));
        auto expected = folder.List();
        if (line.made) expected.emplace_back(line.made);
        const child::Outcome outcome = child::Run(folder, line.arguments);
        EXPECT_EQ(outcome.code, line.code) << outcome.err;
        EXPECT_THAT(outcome.out + outcome.err, HasSubstr(line.says));
        EXPECT_THAT(folder.List(), testing::UnorderedElementsAreArray(expected));
    }
    EXPECT_EQ(testfiles::ReadText(folder / "once.tif"), testfiles::ReadText(folder / "twice.tif"));
    EXPECT_EQ(testfiles::ReadText(folder / "chosen.tif"), testfiles::ReadText(folder / "3_2.tif"));

    std::ofstream(folder / "a.pansharp.ovr") << "of what was there before";
    const child::Outcome replaced =
        child::Run(folder, {"sharpen", "pan.tif", "ms.tif", "-o", "a.pansharp", "--overwrite"});
    EXPECT_THAT(replaced.err, HasSubstr("a.pansharp.ovr' was removed"));
    EXPECT_FALSE(std::filesystem::exists(folder / "a.pansharp.ovr"));
    std::filesystem::remove(folder / "ms.tif");
    const child::Outcome missing = child::Run(folder, {"sharpen", "a.pansharp", "-o", "b.tif"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_THAT(missing.err, HasSubstr("ms.tif', an input of the description, cannot be opened"));
    EXPECT_FALSE(std::filesystem::exists(folder / "b.tif"));
}
