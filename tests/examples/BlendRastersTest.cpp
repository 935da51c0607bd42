// The built program on real files.
#include "support/RasterFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using Samples = std::vector<unsigned>;

class BlendRasters : public testing::Test {
protected:
    /// Writes 2 x 2 pixels, interleaved.
    void Write(const std::string& name, GDALDataType type, const Samples& samples) const {
        const int bands = static_cast<int>(samples.size()) / 4;
        folder.Write(name, {2, 2, bands, type, testfiles::Grid(15.0), {}}, [&](int c, int r, int band) {
            return samples[static_cast<std::size_t>((2 * r + c) * bands + band)];
        });
    }

    /// The samples of a file; empty when it does not exist.
    Samples Read(const std::string& name) const {
        if (!std::filesystem::exists(folder / name)) return {};
        double transform[6] = {};
        GDALDatasetUniquePtr(GDALDataset::Open((folder / name).c_str()))->GetGeoTransform(transform);
        EXPECT_EQ(transform[0], 500000);
        return testfiles::ReadAll(folder / name);
    }

    /// The program's output on standard error.
    std::string Run(const std::string& keyword, const std::string& one, const std::string& two,
                    const std::string& output, const std::string& properties = {}) const {
        const std::string line = std::string(BLEND_RASTERS) + " " + keyword + " " + (folder / one) + " " +
                                 (folder / two) + " " + (folder / output) + " " + properties + " 2>" +
                                 (folder / "errors");
        const bool done = std::system(line.c_str()) == 0;
        const std::string text = testfiles::ReadText(folder / "errors");
        EXPECT_EQ(done, text.empty()) << text;
        return text;
    }

    const testfiles::Folder folder;
};

TEST_F(BlendRasters, BlendsByKeyword) {
    Write("rgb.tif", GDT_Byte, {1, 10, 100, 2, 20, 110, 3, 30, 120, 4, 40, 130});
    Write("gray.tif", GDT_Byte, {0, 7, 0, 255});
    EXPECT_EQ(Run("MERGEBANDS", "rgb.tif", "gray.tif", "merged.tif"), "");
    EXPECT_EQ(Read("merged.tif"), (Samples{1, 10, 100, 0, 2, 20, 110, 7, 3, 30, 120, 0, 4, 40, 130, 255}));
    EXPECT_EQ(Run("Mask", "rgb.tif", "gray.tif", "masked.tif", "FillColor=9,8 FillValue=7"), "");
    EXPECT_EQ(Read("masked.tif"), (Samples{1, 10, 100, 9, 8, 9, 3, 30, 120, 4, 40, 130}));
    Write("deep.tif", GDT_UInt16, {1000, 2000, 60000, 5});
    EXPECT_EQ(Run("Add", "deep.tif", "deep.tif", "sum.tif", "OutputOffset-1=0"), "");
    EXPECT_EQ(Read("sum.tif"), (Samples{2000, 4000, 65535, 10}));
}

TEST_F(BlendRasters, SaysWhatIsWrongAndLeavesNothing) {
    Write("one.tif", GDT_Byte, {1, 2, 3, 4});
    Write("two.tif", GDT_Byte, {1, 2, 3, 4, 5, 6, 7, 8});
    Write("deep.tif", GDT_UInt16, {1, 2, 3, 4});
    Write("signed.tif", GDT_Int16, {1, 2, 3, 4});
    struct Case {
        const char *keyword, *one, *two, *properties, *expected;
    };
    const Case cases[] = {
        {"Sum", "one.tif", "one.tif", "", "the keywords are maxAbsoluteDifference Subtract Add"},
        {"Add", "one.tif", "two.tif", "", "different number of bands (1 and 2)"},
        {"Add", "one.tif", "deep.tif", "", "one raster has 8 bits a sample, the other 16"},
        {"Add", "one.tif", "signed.tif", "", "samples of type Int16"},
        {"Add", "one.tif", "none.tif", "", "none.tif cannot be opened"},
        {"Add", "one.tif", "one.tif", "OutputGain-1", "is no PROPERTY=VALUE"},
    };
    for (const Case& c : cases) {
        EXPECT_NE(Run(c.keyword, c.one, c.two, "out.tif", c.properties).find(c.expected), std::string::npos)
            << c.expected;
        EXPECT_EQ(Read("out.tif"), Samples{});
    }
    EXPECT_NE(Run("Add", "one.tif", "one.tif", "two.tif").find("two.tif exists"), std::string::npos);
    EXPECT_EQ(Read("two.tif"), (Samples{1, 2, 3, 4, 5, 6, 7, 8}));
}

} // namespace
