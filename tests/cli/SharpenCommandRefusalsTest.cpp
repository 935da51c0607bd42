#include "Child.h"
#include "Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/mount.h>

using child::Arguments;
using testing::HasSubstr;

namespace {

/// Files that users really have, beside the good pair pan.tif and ms.tif (four bands, 8 bits).
void MakeBadFiles(const child::Folder& folder, const scene::Pair& pair) {
    std::ofstream(folder / "empty.tif").flush();
    std::ofstream(folder / "text.tif") << "this is no raster";
    scene::Write(folder / "bare_pan.tif", pair.pan, {.pixelSize = 0.0, .epsg = 0});
    scene::Write(folder / "bare.tif", pair.ms, {.pixelSize = 0.0, .epsg = 0});
    std::filesystem::create_directory(folder.path / "folder");
    scene::Write(folder / "large_pan.tif", scene::MakeRaster(800, 600, 1, 8, 6), {.pixelSize = 10.0});
    scene::Write(folder / "cut.tif", scene::MakeRaster(400, 300, 4, 8, 6), {.pixelSize = 20.0});
    std::filesystem::resize_file(folder.path / "cut.tif", 240000);
}

struct Refusal {
    Arguments arguments;            ///< after "sharpen"
    std::vector<std::string> words; ///< in what standard error says
};

/// One refusal of each kind, and faults that a request alone cannot have. The tests of rasterhost cover
/// refused requests.
const Refusal refusals[] = {
    {"nowhere.tif ms.tif -o o.tif", {"'nowhere.tif'", "check the name"}},
    {"empty.tif ms.tif -o o.tif", {"'empty.tif'", "is empty"}},
    {"pan.tif folder -o o.tif", {"'folder'", "raster"}},
    {"large_pan.tif cut.tif -o o.tif", {"'cut.tif'", "cut short"}},
    {"pan.tif ms.tif -o o.tif --plugin text.tif", {"'text.tif'", "plug-in"}},
    {"pan.tif ms.tif -o o.tif --plugin nowhere.process", {"'nowhere.process'", "plug-in"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--plugin", OTHER_CONTRACT_FILE}, {"contract", "version"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--plugin", FAILING_PLUGIN_FILE, "--set", "failWindow=0"},
     {"rows 0 to 1 cannot be fused", "no window here"}},
    {"pan.tif ms.tif -o /proc/o.tif", {"'/proc/o.tif' cannot be created", "writable?"}},
    {"pan.tif ms.tif -o o.tif --bit-depth 12", {"'pan.tif' has 8 bits", "16-bit"}},
    {"pan.tif ms.tif -o o.tif --bbox 0 0 1 1", {"holds no pixel", "'pan.tif'"}},
    {"bare_pan.tif bare.tif -o o.tif --bbox 0 0 1 1", {"'bare_pan.tif' has no position"}},
};

} // namespace

TEST(SharpenCommandRefusals, SayWhatIsWrongAndLeaveNothing) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    MakeBadFiles(folder, pair);
    const auto before = folder.List();
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(child::AsTyped(refusal.arguments));
        const child::Outcome outcome = child::Run(folder, "sharpen -q" + refusal.arguments);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr("pansharp: error: "));
        for (const std::string& word : refusal.words)
            EXPECT_THAT(outcome.err, HasSubstr(word));
        EXPECT_EQ(folder.List(), before);
        EXPECT_EQ(scene::Read(folder / "pan.tif").samples, pair.pan.samples);
    }
}

TEST(SharpenCommandRefusals, LookForRoomFirst) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    const std::string small = folder / "small";
    std::filesystem::create_directory(small);
    if (mount("none", small.c_str(), "tmpfs", 0, "size=4k") != 0)
        GTEST_SKIP() << "no file system may be mounted";
    const child::Outcome outcome = child::Run(folder, "sharpen pan.tif ms.tif -o small/out.tif");
    EXPECT_TRUE(std::filesystem::is_empty(small));
    umount(small.c_str());
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("'small/out.tif' takes 0 MB"), HasSubstr("make room")));
}

TEST(SharpenCommandRefusals, NoticeThatTheReportCannotBePrinted) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    const child::Folder folder;
    const child::Outcome outcome = child::Run(folder, {"methods"}, {}, "/dev/full");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, HasSubstr("standard output cannot be written"));
}
