#include "Child.h"
#include "Scene.h"

#include <gdal_priv.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using child::Arguments;
using testing::HasSubstr;
using testing::Not;

namespace {

struct ProductLine {
    Arguments arguments;
    int code;
    const char* says;
    const char* not_ = "Segmentation";
};

} // namespace

TEST(ProductInput, StandsWhereAPairMayStand) {
    const child::Folder folder;
    const std::string stem = "p/LC08_L1TP_016037_20170813_01_RT_B";
    std::filesystem::create_directories(folder / "p");
    scene::Write(folder / (stem + "8.TIF"), scene::MakeRaster(46, 38, 1, 16, 1), {});
    for (const std::string band : {"2", "3", "4", "10"})
        scene::Write(folder / (stem + band + ".TIF"), scene::MakeRaster(23, 19, 1, 16, 2),
                     {500000.0, 4600000.0, 20.0});
    std::ofstream(folder / "item.json")
        << R"({"stac_version": "1.1.0", "id": "i", "assets": {
        "p": {"href": "./)" +
               stem +
               R"(8.TIF", "bands": [{"eo:common_name": "pan"}]}, "t": {"href": "t.tif", "bands": [{"name": "thermal"}]},
        "r": {"href": ")" +
               stem +
               R"(4.TIF", "raster:scale": 0.5, "raster:offset": -3, "bands": [{"eo:common_name": "red"}]}},
        "properties": {"platform": "worldview-02", "datetime": "2021-05-06T01:38:09.5-05:30"}})";
    const ProductLine lines[] = {
        {{"sharpen", "p", "-o", "a.tif"}, 0, "Landsat 8 Level-1, LC08_L1TP_016037_20170813_01_RT"},
        {{"sharpen", "p", "-o", "b.tif", "--rgb"},
         0,
         "left out  LC08_L1TP_016037_20170813_01_RT_B10.TIF: thermal"},
        {{"sharpen", "p", "-o", "c.tif", "--no-nodata", "-q"}, 0, "", "Landsat"},
        {{"sharpen", "p", "-o", "d.tif", "--bands", "nir"},
         1,
         "known as 'nir'; the bands are 1 blue, 2 green, 3 red"},
        {{"sharpen", "p", "-o", "d.tif", "--json", "--scale", "0,60000"},
         0,
         "\"wavelength_um\": 0.655",
         "left out  "},
        {{"sharpen", stem + "8.TIF", stem + "2.TIF", stem + "3.TIF", stem + "4.TIF", "-o", "e.tif",
          "--nodata", "0"},
         0,
         ""},
        {{"sharpen", "p", "-o", "f.pansharp"}, 0, "described in"},
        {{"sharpen", "f.pansharp", "-o", "f.tif"}, 0, "3 bands"},
        {{"sharpen", "item.json", "-o", "s.tif"}, 0, "0.35, as published for the sensor, is used"},
        {{"sharpen", "item.json", "-o", "s.pansharp"}, 0, "values    0.5 x sample -3"},
        {{"sharpen", "s.pansharp", "-o", "t.tif"}, 0, "as published for the sensor"},
        {{"info", "item.json", "--json"}, 0, "\"why\": \"thermal: pan does not"},
        {{"sharpen", "item.json", "-o", "look.tif", "--byte", "--json"}, 0, "\"stretch\": [\n    ["},
        {{"sharpen", "p", "-b", "red,blue", "-o", "g.png", "--byte"},
         1,
         "here are 2; choose them with --rgb"},
        {{"compare", "item.json", "--json"}, 0, "0.35\n    ],\n    \"pan\": 0.11"},
        {{"compare", "item.json", "--infrared", stem + "3.TIF", "--json"}, 0, "0.35,\n      0.35\n    ],\n"},
        {{"info", "p"}, 0, "no data   0, from the product"},
        {{"info", "p", "--nodata", "7"}, 0, "Landsat 8", "from the product"},
        {{"compare", "p", "-b", "red,blue"}, 0, "product"},
        {{"assess", "a.tif", "--pan", "p"}, 0, "product"},
        {{"sharpen", "p", "a.tif", "-o", "g.tif"}, 1, "pan"},
        {{"sharpen", "nowhere", "-o", "g.tif"}, 2, "only 'nowhere' is named"},
        {{"sharpen", ".", "-o", "g.tif"}, 0, "Landsat 8"},
    };
    for (const ProductLine& line : lines) {
        SCOPED_TRACE(child::AsTyped(line.arguments));
        const child::Outcome outcome = child::Run(folder, line.arguments);
        EXPECT_EQ(outcome.code, line.code) << outcome.err;
        EXPECT_THAT(outcome.out + outcome.err, HasSubstr(line.says));
        EXPECT_THAT(outcome.out + outcome.err, Not(HasSubstr(line.not_)));
    }
    EXPECT_EQ(testfiles::ReadAll(folder / "a.tif"), testfiles::ReadAll(folder / "e.tif"));
    EXPECT_EQ(testfiles::ReadText(folder / "a.tif"), testfiles::ReadText(folder / "f.tif"));
    for (const std::string name : {"s.tif", "t.tif", "look.tif"}) {
        const GDALDatasetUniquePtr file(GDALDataset::Open((folder / name).c_str()));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->GetRasterBand(1)->GetScale(), name == "look.tif" ? 1.0 : 0.5);
        EXPECT_EQ(file->GetRasterBand(1)->GetOffset(), name == "look.tif" ? 0.0 : -3.0);
        EXPECT_STREQ(file->GetMetadataItem("ACQUISITIONDATETIME", "IMAGERY"), "2021-05-06 07:08:09");
    }
}
