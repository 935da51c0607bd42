// The built program on real files.
#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using Samples = std::vector<std::uint16_t>;
constexpr int columns = 2;
constexpr int rows = 2;

class BlendRasters : public testing::Test {
protected:
    BlendRasters() {
        GDALAllRegister();
        std::filesystem::create_directories(folder);
    }
    ~BlendRasters() override { std::filesystem::remove_all(folder); }

    std::string File(const std::string& name) const { return (folder / name).string(); }

    /// Writes samples band by band.
    void Write(const std::string& name, GDALDataType type, Samples samples) const {
        const int bands = static_cast<int>(samples.size()) / (columns * rows);
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
        GDALDataset* dataset = driver->Create(File(name).c_str(), columns, rows, bands, type, nullptr);
        double transform[] = {500000, 15, 0, 4000000, 0, -15};
        dataset->SetGeoTransform(transform);
        EXPECT_EQ(dataset->RasterIO(GF_Write, 0, 0, columns, rows, samples.data(), columns, rows, GDT_UInt16,
                                    bands, nullptr, 0, 0, 0, nullptr),
                  CE_None);
        GDALClose(dataset);
    }

    /// The samples written band by band, none when there is no such file.
    Samples Read(const std::string& name) const {
        if (!std::filesystem::exists(File(name))) return {};
        auto* dataset = static_cast<GDALDataset*>(GDALOpen(File(name).c_str(), GA_ReadOnly));
        const int bands = dataset->GetRasterCount();
        Samples samples(static_cast<std::size_t>(columns * rows * bands));
        EXPECT_EQ(dataset->RasterIO(GF_Read, 0, 0, columns, rows, samples.data(), columns, rows, GDT_UInt16,
                                    bands, nullptr, 0, 0, 0, nullptr),
                  CE_None);
        double transform[6] = {};
        dataset->GetGeoTransform(transform);
        EXPECT_EQ(transform[0], 500000);
        GDALClose(dataset);
        return samples;
    }

    /// What the program said on standard error.
    std::string Run(const std::string& keyword, const std::string& one, const std::string& two,
                    const std::string& output, const std::string& properties = {}) const {
        const std::string line = std::string(BLEND_RASTERS) + " " + keyword + " " + File(one) + " " +
                                 File(two) + " " + File(output) + " " + properties + " 2>" + File("errors");
        const bool done = std::system(line.c_str()) == 0;
        std::ostringstream text;
        text << std::ifstream(File("errors")).rdbuf();
        EXPECT_EQ(done, text.str().empty()) << text.str();
        return text.str();
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("blend-rasters-" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

TEST_F(BlendRasters, BlendsByKeyword) {
    Write("rgb.tif", GDT_Byte, {1, 2, 3, 4, 10, 20, 30, 40, 100, 110, 120, 130});
    Write("gray.tif", GDT_Byte, {0, 7, 0, 255});
    EXPECT_EQ(Run("MERGEBANDS", "rgb.tif", "gray.tif", "merged.tif"), "");
    EXPECT_EQ(Read("merged.tif"), (Samples{1, 2, 3, 4, 10, 20, 30, 40, 100, 110, 120, 130, 0, 7, 0, 255}));
    EXPECT_EQ(Run("Mask", "rgb.tif", "gray.tif", "masked.tif", "FillColor=9,8 FillValue=7"), "");
    EXPECT_EQ(Read("masked.tif"), (Samples{1, 9, 3, 4, 10, 8, 30, 40, 100, 9, 120, 130}));
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
