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

/// Files that people really have, beside the good pair pan.tif and ms.tif (four bands, 8 bits).
void MakeBadFiles(const child::Folder& folder, const scene::Pair& pair) {
    std::ofstream(folder / "empty.tif").flush();
    std::ofstream(folder / "text.tif") << "this is no raster";
    scene::Write(folder / "bare_pan.tif", pair.pan, {.pixelSize = 0.0, .epsg = 0});
    scene::Write(folder / "bare.tif", pair.ms, {.pixelSize = 0.0, .epsg = 0});
    scene::Write(folder / "exists.tif", scene::MakeRaster(2, 2, 1, 8, 5), {});
    std::filesystem::create_directory(folder.path / "folder");
    const scene::Raster large = scene::MakeRaster(400, 300, 4, 8, 6);
    scene::Write(folder / "large_pan.tif", scene::MakeRaster(800, 600, 1, 8, 6), {.pixelSize = 10.0});
    scene::Write(folder / "cut.tif", large, {.pixelSize = 20.0});
    std::filesystem::resize_file(folder.path / "cut.tif", 240000);
}

struct Refusal {
    Arguments arguments;            ///< after "sharpen"
    std::vector<std::string> words; ///< in what standard error says
};

/// One of a kind, and what a request alone cannot hold: the requests that are refused are tested by
/// rasterhost.
const Refusal refusals[] = {
    {{"nowhere.tif", "ms.tif", "-o", "o.tif"}, {"'nowhere.tif'", "check the name"}},
    {{"pan.tif", "nowhere.tif", "-o", "o.tif"}, {"'nowhere.tif'", "check the name"}},
    {{"empty.tif", "ms.tif", "-o", "o.tif"}, {"'empty.tif'", "is empty"}},
    {{"pan.tif", "folder", "-o", "o.tif"}, {"'folder'", "raster"}},
    {{"large_pan.tif", "cut.tif", "-o", "o.tif"}, {"'cut.tif'", "cut short"}},
    {{"ms.tif", "pan.tif", "-o", "o.tif"}, {"'ms.tif'", "4 bands", "swapped"}},
    {{"pan.tif", "ms.tif,band=5", "-o", "o.tif"}, {"'ms.tif'", "no band 5", "1 to 4"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "-w", "1,2"}, {"2 weights", "4 multispectral bands"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "-b", "1,5"}, {"band 5", "1 to 4"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--set", "MSImageID=x"}, {"'MSImageID'"}},
    {{"pan.tif", "ms.tif", "-o", "exists.tif"}, {"'exists.tif'", "--overwrite"}},
    {{"pan.tif", "ms.tif", "-o", "pan.tif", "--overwrite"}, {"'pan.tif'", "one of the inputs"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--plugin", "text.tif"}, {"'text.tif'", "plug-in"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--plugin", "nowhere.process"}, {"'nowhere.process'", "plug-in"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--plugin", OTHER_CONTRACT_FILE}, {"contract", "version"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--plugin", FAILING_PLUGIN_FILE, "--set", "failWindow=0"},
     {"rows 0 to 1 cannot be fused", "no window here"}},
    {{"pan.tif", "ms.tif", "-o", "/proc/o.tif"}, {"'/proc/o.tif' cannot be created", "written to?"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--bit-depth", "12"}, {"'pan.tif' has 8 bits", "16-bit"}},
    {{"pan.tif", "ms.tif", "-o", "o.tif", "--bbox", "0", "0", "1", "1"}, {"holds no pixel", "'pan.tif'"}},
    {{"bare_pan.tif", "bare.tif", "-o", "o.tif", "--bbox", "0", "0", "1", "1"},
     {"'bare_pan.tif' has no position"}},
};

} // namespace

TEST(SharpenCommandRefusals, SayWhatIsWrongAndLeaveNothing) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    MakeBadFiles(folder, pair);
    const auto before = folder.List();
    const auto existing = scene::Read(folder / "exists.tif").samples;
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(child::AsTyped(refusal.arguments));
        const child::Outcome outcome =
            child::Run(folder, child::Concatenate({{"sharpen", "-q"}, refusal.arguments}));
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr("pansharp: error: "));
        for (const std::string& word : refusal.words)
            EXPECT_THAT(outcome.err, HasSubstr(word));
        EXPECT_EQ(folder.List(), before);
        EXPECT_EQ(scene::Read(folder / "exists.tif").samples, existing);
        EXPECT_EQ(scene::Read(folder / "pan.tif").samples, pair.pan.samples);
    }
}

TEST(SharpenCommandRefusals, KeepTheOldFileWhenTheNewOneFails) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    MakeBadFiles(folder, pair);
    const auto before = folder.List();
    const auto existing = scene::Read(folder / "exists.tif").samples;
    const child::Outcome outcome =
        child::Run(folder, {"sharpen", "large_pan.tif", "cut.tif", "-o", "exists.tif", "--overwrite",
                            "--window", "10", "--no-nodata", "-w", "equal"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, HasSubstr("10 % done")); // it was well under way
    EXPECT_THAT(outcome.err, HasSubstr("\npansharp: error: "));
    EXPECT_EQ(folder.List(), before);
    EXPECT_EQ(scene::Read(folder / "exists.tif").samples, existing);
}

// No file grows beyond a limit: what a full disk does in the middle, to tiles, to what GDAL writes and to a
// copy.
TEST(SharpenCommandRefusals, LeaveNothingOnADiskThatFillsUp) {
    const child::Folder folder;
    scene::Write(folder / "pan.tif", scene::MakeRaster(1000, 800, 1, 8, 5), {.pixelSize = 10.0});
    scene::Write(folder / "ms.tif", scene::MakeRaster(500, 400, 4, 8, 5), {.pixelSize = 20.0});
    const auto before = folder.List();
    for (const Arguments& how : {Arguments{},
                                 {"--co", "COMPRESS=DEFLATE"},
                                 {"--window", "100"},
                                 {"--window", "100", "--co", "COMPRESS=DEFLATE"},
                                 {"-f", "COG"}}) {
        SCOPED_TRACE(child::AsTyped(how));
        child::Running running(folder,
                               child::Concatenate({{"sharpen", "pan.tif", "ms.tif", "-o", "out.tif"}, how}),
                               {}, {}, -1, 1500000);
        const child::Outcome outcome = running.Finish();
        EXPECT_EQ(outcome.code, 1);
        EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("'out.tif'"), HasSubstr("is the disk full?")));
        EXPECT_EQ(folder.List(), before);
    }
}

TEST(SharpenCommandRefusals, LookForRoomFirst) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    const std::string small = folder / "small";
    std::filesystem::create_directory(small);
    if (mount("none", small.c_str(), "tmpfs", 0, "size=4k") != 0)
        GTEST_SKIP() << "no file system may be mounted";
    const child::Outcome outcome =
        child::Run(folder, {"sharpen", "pan.tif", "ms.tif", "-o", "small/out.tif"});
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
