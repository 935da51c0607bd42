#include "Child.h"
#include "Scene.h"

#include "fundament/Status.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

using testing::HasSubstr;

// The file's properties count like typed ones; typed ones take precedence.
TEST(SettingsFile, GivesMethodAndProperties) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    std::ofstream(folder / "set.xml") << "<S><Method>brovey</Method><BandWeight-2>0.125</BandWeight-2></S>";
    const auto fuse = [&](child::Arguments more) {
        child::RunWell(folder, "sharpen pan.tif ms.tif -o out.tif --overwrite -q -r bilinear" + more);
        return scene::Read(folder / "out.tif").samples;
    };
    const auto expect = [&](const char* method, std::vector<double> weights) {
        return scene::Fuse(method, pair.pan, pair.ms, weights, {0, 1, 2, 3}).samples;
    };
    EXPECT_EQ(fuse("--settings set.xml"), expect("Brovey", {0.25, 0.5, 0.25, 0.25}));
    EXPECT_EQ(fuse("--settings set.xml --method kova"), expect("KOVA", {0.25, 0.125, 0.25, 0.25}));
    EXPECT_EQ(fuse("--settings set.xml --method kova --set BandWeight-2=0.5"),
              expect("KOVA", {0.25, 0.5, 0.25, 0.25}));
}

TEST(SettingsFile, IsRefusedWithPlaceAndReason) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    std::ofstream(folder / "broken.xml") << "<S>\n<Method>brovey</S>";
    std::ofstream(folder / "own.xml") << "<S><MSImageID>other</MSImageID></S>";
    const struct {
        const char* file;
        int code;
        std::vector<const char*> words;
    } cases[] = {{"broken.xml", 2, {"broken.xml", "Line: '2'", "mismatch"}},
                 {"none.xml", 2, {"none.xml", "cannot be read"}},
                 {"own.xml", 1, {"MSImageID", "cannot be set"}}};
    for (const auto& c : cases) {
        const auto outcome =
            child::Run(folder, {"sharpen", "pan.tif", "ms.tif", "-o", "out.tif", "--settings", c.file});
        EXPECT_EQ(outcome.code, c.code) << c.file;
        for (const char* word : c.words)
            EXPECT_THAT(outcome.err, HasSubstr(word));
        EXPECT_FALSE(std::filesystem::exists(folder / "out.tif"));
    }
}

// A report that is read back has the text of standard error; a successful run writes none.
TEST(SettingsFile, ReportHoldsWhatWentWrong) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    auto outcome = child::Run(folder, "sharpen pan.tif <none>.tif -o out.tif --status-xml why.xml");
    EXPECT_EQ(outcome.code, 1);
    KOVA::Tessara::Fundament::Status status;
    ASSERT_TRUE(status.FromXml(folder / "why.xml"));
    ASSERT_GE(status.GetCount(), 1u);
    EXPECT_THAT(status.GetItem(0).message, HasSubstr("'<none>.tif'"));
    EXPECT_THAT(outcome.err, HasSubstr(status.GetItem(0).message));
    outcome = child::Run(folder, "sharpen pan.tif none.tif -o out.tif --status-xml no/why.xml");
    EXPECT_THAT(outcome.err, HasSubstr("'no/why.xml' cannot be written"));
    outcome = child::RunWell(folder, "sharpen pan.tif ms.tif -o out.tif --status-xml none.xml -q");
    EXPECT_FALSE(std::filesystem::exists(folder / "none.xml"));
}

TEST(SharpenCommandAtATerminal, AsksBeforeItReplacesAFile) {
    const child::Folder folder;
    const scene::Pair pair(folder, 4, 8);
    std::ofstream(folder / "out.tif") << "precious";
    const child::Arguments line = "sharpen pan.tif ms.tif -o out.tif";
    const auto no = child::RunAt({}, folder, line, 'n');
    EXPECT_EQ(no.code, 1);
    EXPECT_THAT(no.out, HasSubstr("out.tif already exists! Overwrite?(Y/N)[N] N"));
    EXPECT_THAT(no.out, HasSubstr("left as it is"));
    EXPECT_EQ(std::filesystem::file_size(folder / "out.tif"), 8u);
    EXPECT_EQ(child::RunAt({}, folder, line, 'y').code, 0);
    EXPECT_EQ(scene::Read(folder / "out.tif").bands, 4);
}
