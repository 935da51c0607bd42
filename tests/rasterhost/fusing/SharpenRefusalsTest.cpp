#include "SceneFiles.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using namespace testfiles;
using rasterhost::SharpenRequest;
using testing::HasSubstr;

unsigned Flat(int, int, int) { return 50; }

/// Files, most of them wrong in one way, and a valid request.
class Refusals : public testing::Test {
protected:
    Refusals() {
        request.pan.file = folder.Write("pan.tif", {40, 40, 1, GDT_Byte, Grid(10.0), "EPSG:32630"}, Flat);
        request.multispectral = {
            {folder.Write("ms.tif", {20, 20, 3, GDT_Byte, Grid(20.0), "EPSG:32630"}, Flat), {}}};
        request.output = folder / "fused.tif";
        request.weightSource = rasterhost::WeightSource::Equal;
    }
    [[nodiscard]] std::string Make(const char* name, const FileShape& shape) const {
        return folder.Write(name, shape, Flat);
    }
    /// A request with one change must be refused with these texts, and must not leave a file.
    void Refuse(const std::function<void(SharpenRequest&)>& change, const std::vector<std::string>& texts) {
        SharpenRequest changed = request;
        change(changed);
        const auto before = folder.List();
        const Outcome outcome = RunSharpen(changed);
        EXPECT_FALSE(outcome.isDone) << texts.front();
        ASSERT_GE(outcome.status.GetCount(), 1u) << texts.front();
        for (const std::string& text : texts)
            EXPECT_THAT(outcome.status.GetItem(0).message, HasSubstr(text));
        EXPECT_EQ(folder.List(), before);
    }

    const Folder folder;
    SharpenRequest request = MakeRequest();
};

TEST_F(Refusals, TheRequestIsRightOtherwise) {
    const Outcome outcome = RunSharpen(request);
    EXPECT_TRUE(outcome.isDone) << outcome.status.ToText();
    EXPECT_TRUE(outcome.report.warnings.empty());
}

// A file that declares more than it holds causes an error and does not exhaust the machine.
TEST_F(Refusals, WhatIsOnlyDeclared) {
    const auto declare = [this](const char* name, const std::string& sizes, const std::string& transform) {
        const std::string file = folder / name;
        std::ofstream(file) << "<VRTDataset " << sizes << "><GeoTransform>" << transform
                            << "</GeoTransform><VRTRasterBand dataType=\"Byte\" band=\"1\"/></VRTDataset>";
        return file;
    };
    const std::string small = "rasterXSize=\"40\" rasterYSize=\"40\"";
    const std::string vast =
        declare("vast.vrt", "rasterXSize=\"300000000\" rasterYSize=\"40\"", "500000,1e-2,0,4000000,0,-10");
    const std::string nowhere = declare("nowhere.vrt", small, "nan,10,0,4000000,0,-10");
    const std::string flat = declare("flat.vrt", small, "500000,1e-300,0,4000000,0,-10");
    Refuse([&](SharpenRequest& r) { r.pan.file = vast; }, {"vast.vrt", "300000000 columns", "takes 300 MB"});
    for (const std::string& file : {nowhere, flat})
        Refuse([&](SharpenRequest& r) { r.pan.file = file; }, {file, "the position of", "gdal_edit.py"});
    const std::string far = declare("far.vrt", "rasterXSize=\"900000\" rasterYSize=\"900000\"",
                                    "500000,1e-3,0.0001,4000000,0.0001,-1e-3");
    Refuse([&](SharpenRequest& r) { r.pan.file = far; }, {"far.vrt", "900000 x 900000", "gdalwarp"});
    Refuse([&](SharpenRequest& r) { r.mostMemory = std::uint64_t{20} << 20; },
           {"ms.tif", "there are only 21 MB", "--window"});
}

// As the multispectral image, as one more file of it, and as the infrared image.
TEST_F(Refusals, InputsThatCannotBeServed) {
    const std::string text = folder / "text.tif", absent = folder / "absent.tif";
    std::ofstream(text) << "no raster";
    const std::string deep = Make("deep.tif", {30, 20, 1, GDT_UInt16, Grid(20.0), "EPSG:32630"});
    const std::string away = Make("away.tif", {20, 20, 1, GDT_Byte, Grid(20.0, 600000.0), "EPSG:32630"});
    const std::string beside = Make("beside.tif", {20, 20, 1, GDT_Byte, Grid(20.0, 500400.0), "EPSG:32630"});
    const std::string zone = Make("zone.tif", {20, 20, 1, GDT_Byte, Grid(20.0), "EPSG:32631"});
    const std::string fine = Make("fine.tif", {80, 80, 1, GDT_Byte, Grid(5.0), "EPSG:32630"});
    const std::string huge = Make("huge.tif", {20, 20, 1, GDT_Byte, Grid(2e6), "EPSG:32630"});
    const std::string real = Make("real.tif", {20, 20, 1, GDT_Float32, Grid(20.0), "EPSG:32630"});
    const std::string wide = Make("wide.tif", {20, 20, 1, GDT_UInt16, Grid(20.0), "EPSG:32630"});
    const std::string nowhere = Make("nowhere.tif", {20, 20, 1, GDT_Byte, {}, {}});
    const std::string turned =
        Make("turned.tif", {20, 20, 1, GDT_Byte, std::array{500000.0, 20.0, 1.0, 4000000.0, 1.0, -20.0}, {}});
    const std::string& ms = request.multispectral[0].file;
    const auto useMs = [](std::vector<rasterhost::InputBand> inputs) {
        return [inputs](SharpenRequest& r) { r.multispectral = inputs; };
    };
    const auto useInfrared = [](const std::string& file) {
        return [file](SharpenRequest& r) { r.infrared = rasterhost::InputBand{file, {}}; };
    };
    Refuse([&](SharpenRequest& r) { r.pan.file = absent; }, {"absent.tif", "cannot be opened"});
    Refuse([&](SharpenRequest& r) { r.pan.file = text; }, {"text.tif", "is a raster"});
    Refuse([&](SharpenRequest& r) { r.pan.file = ms; }, {"'" + ms + "'", "has 3 bands", "band=1", "swapped"});
    Refuse(useMs({}), {"no multispectral file"});
    Refuse(useMs({{ms, 4}}), {"no band 4", "1 to 3"});
    Refuse(useMs({{ms, 0}}), {"no band 0"});
    Refuse(useMs({{wide, {}}}), {"pan.tif", "8 bits", "wide.tif", "16", "-ot"});
    Refuse(useMs({{zone, {}}}), {"zone.tif", "do not overlap"});
    Refuse(useMs({{away, {}}}), {"away.tif", "do not overlap", "600000"});
    Refuse(useMs({{beside, {}}}), {"beside.tif", "do not overlap"});
    Refuse(useMs({{fine, {}}}), {"fine.tif", "smaller than the pan pixels", "swapped"});
    Refuse(useMs({{huge, {}}}), {"huge.tif", "more than 10000 times", "gdalinfo"});
    Refuse(useMs({{nowhere, {}}}), {"pan.tif", "is georeferenced", "nowhere.tif", "is not"});
    Refuse(useMs({{ms, {}}, {deep, {}}}), {"pan.tif", "8 bits", "deep.tif", "16"});
    Refuse(useMs({{ms, {}}, {away, {}}}), {"away.tif", "do not overlap"});
    Refuse(useMs({{ms, {}}, {fine, {}}}), {"fine.tif", "smaller than the pan pixels"});
    Refuse(useMs({{ms, {}}, {wide, {}}}), {"wide.tif", "bits per sample (16)", "(8)"});
    Refuse(useInfrared(ms), {"ms.tif", "3 bands", "band=1"});
    Refuse(useInfrared(wide), {"wide.tif", "16", "gdal_translate"});
    Refuse(useInfrared(away), {"away.tif", "overlap"});
    Refuse(useInfrared(nowhere), {"nowhere.tif", "georeferenced"});
    Refuse(useInfrared(absent), {"absent.tif"});
    Refuse(
        [&](SharpenRequest& r) {
            r.weights = {0.5, 0.25, 0.25}, r.infrared = rasterhost::InputBand{ms, 1};
        },
        {"infrared", "weight"});
    Refuse(useMs({{real, {}}}),
           {"real.tif", "Float32", "from 50 to 50", "--scale 0,62.5", "gdal_translate -ot"});
    Refuse(
        [&](SharpenRequest& r) {
            r.pan.file = turned, r.part = {500000.0, 4000000.0, 500100.0, 3999900.0};
        },
        {"turned.tif", "not north up", "with sharpen --srcwin"});
}

TEST_F(Refusals, PalettesAreNoIntensities) {
    const std::string name = Make("palette.tif", {20, 20, 1, GDT_Byte, Grid(20.0), "EPSG:32630"});
    {
        GDALDatasetUniquePtr dataset(GDALDataset::Open(name.c_str(), GDAL_OF_UPDATE));
        GDALColorTable table;
        const GDALColorEntry red = {255, 0, 0, 255};
        table.SetColorEntry(7, &red);
        dataset->GetRasterBand(1)->SetColorTable(&table);
    }
    Refuse([&](SharpenRequest& r) { r.multispectral = {{name, {}}}; }, {"palette", "-expand rgb"});
    Refuse([&](SharpenRequest& r) { r.pan.file = name; }, {"palette", "-expand gray"});
}

TEST_F(Refusals, SettingsThatMakeNoSense) {
    Refuse([](SharpenRequest& r) { r.weights = {0.5, 0.5}; }, {"2 weights", "3 multispectral bands"});
    Refuse([](SharpenRequest& r) { r.weights = {0.5, 0.5, std::nan("")}; }, {"finite"});
    Refuse([](SharpenRequest& r) { r.bands = {1, 4}; }, {"no band 4", "1 to 3"});
    Refuse([](SharpenRequest& r) { r.bands = {2, 2}; }, {"band 2", "twice"});
    Refuse([](SharpenRequest& r) { r.method = "Magic"; }, {"'Magic'", "KOVA"});
    Refuse(
        [](SharpenRequest& r) {
            r.method = "ihs", r.weights = {0.3, 0.3, 0.3};
        },
        {"IHS has no weights of the multispectral bands"});
    Refuse([](SharpenRequest& r) { r.method = "ihs", r.multispectral[0].band = 1; },
           {"IHS needs at least 3 multispectral bands; 1"});
    Refuse([](SharpenRequest& r) { r.properties = {{"outputnbands", "1"}}; }, {"outputnbands"});
    Refuse([](SharpenRequest& r) { r.plugin = "/nowhere/Pansharp.process"; }, {"/nowhere/Pansharp.process"});
    for (const char* method : {"kova", "brovey"})
        for (const std::vector<double>& weights : {std::vector{0.0, 0.0, 0.0}, {-1.0, 0.2, 0.3}})
            Refuse([&](SharpenRequest& r) { r.method = method, r.weights = weights; },
                   {"add up to", "a sum above 0"});
    for (const char* name : {"BandWeight-4", "bandweight-0", "BandWeight-x"})
        Refuse([&](SharpenRequest& r) { r.properties = {{name, "1"}}; }, {name, "to BandWeight-3"});
    for (const double value : {256.0, 0.5, -1.0})
        Refuse([&](SharpenRequest& r) { r.noData = value; }, {"cannot mean no data", "from 0 to 255"});
}

// A run whose result would have no useful pixel is not started.
TEST_F(Refusals, InputsWithNothingToFuse) {
    const FileShape panShape{40, 40, 1, GDT_Byte, Grid(10.0), "EPSG:32630", 50.0};
    const FileShape msShape{20, 20, 3, GDT_Byte, Grid(20.0), "EPSG:32630", 9.0};
    const std::string dark = folder.Write("dark.tif", {40, 40, 1, GDT_Byte, Grid(10.0), "EPSG:32630"},
                                          [](int, int, int) { return 0; });
    const std::string pan = Make("void.tif", panShape);
    const std::string ms = folder.Write("none.tif", msShape, [](int, int, int) { return 9; });
    const std::string band =
        folder.Write("band.tif", msShape, [](int, int, int b) { return b == 1 ? 9 : 50; });
    const std::string apart =
        folder.Write("apart.tif", msShape, [](int c, int, int b) { return (c < 9) == (b < 1) ? 9 : 50; });
    const std::string many = Make("many.tif", {20, 20, 4097, GDT_Byte, Grid(20.0), "EPSG:32630"});
    Refuse([&](SharpenRequest& r) { r.pan.file = dark; }, {"dark.tif", "is 0 in all bands", "--no-nodata"});
    Refuse([&](SharpenRequest& r) { r.pan.file = pan; }, {"no pixel of", "void.tif", "--no-nodata"});
    const auto useMs = [](const std::string& file) {
        return [file](SharpenRequest& r) { r.multispectral = {{file, {}}}; };
    };
    Refuse(useMs(ms), {"no pixel of", "none.tif' has data;"});
    Refuse(useMs(band), {"no pixel of band 2 of", "band.tif"});
    Refuse(useMs(apart), {"apart.tif", "in all its bands"});
    Refuse(useMs(many), {"4097", "4096", "band=1"});
}

// A run whose result is of little use is made, with a warning.
TEST_F(Refusals, WhatIsOfLittleWorthIsToldOf) {
    const auto pattern = [](int c, int r, int b) {
        return 40u + static_cast<unsigned>((c * 7 + r * 5 + b) % 60);
    };
    request.pan.file = folder.Write("noisy.tif", {40, 40, 1, GDT_Byte, Grid(10.0), "EPSG:32630"}, pattern);
    const struct {
        std::vector<double> weights;
        const char* format;
        std::vector<std::string> options, texts; ///< of the warnings, in order
    } cases[] = {
        {{20.0, 30.0, 50.0}, "GTiff", {}, {"add up to 100", "band 1 are 0", "band 2 are 0", "band 3 are 0"}},
        {{}, "GTiff", {"NBITS=4"}, {"has the quality that NBITS=4 asks for"}},
        {{}, "GTiff", {"COMPRESS=DEFLATE", "ZLEVEL=99"}, {"ZLEVEL=99"}},
        {{}, "JPEG", {}, {"is not exact: with the format JPEG"}},
        {{}, "VICAR", {}, {"has no position"}},
        {{}, "JP2OpenJPEG", {"QUALITY=20"}, {"has the quality that QUALITY=20 asks for"}},
        {{}, "JP2OpenJPEG", {}, {}},
        {{}, "COG", {"TARGET_SRS=EPSG:4326"}, {"on another grid"}},
        {{}, "COG", {}, {}}};
    std::vector<unsigned> exact;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format);
        SharpenRequest changed = request;
        changed.weights = c.weights;
        changed.format = c.format;
        changed.creationOptions = c.options;
        changed.overwrite = true;
        const Outcome outcome = RunWell(changed);
        ASSERT_EQ(outcome.report.warnings.size(), c.texts.size());
        for (std::size_t i = 0; i < c.texts.size(); ++i)
            EXPECT_THAT(outcome.report.warnings[i], HasSubstr(c.texts[i]));
        if (!c.texts.empty()) continue;
        if (exact.empty()) exact = ReadAll(changed.output);
        EXPECT_EQ(ReadAll(changed.output), exact);
    }
}

TEST_F(Refusals, OutputsThatCannotBe) {
    const std::string& pan = request.pan.file;
    const std::string existing = Make("existing.tif", {1, 1, 1, GDT_Byte, {}, {}});
    std::filesystem::create_symlink(pan, folder / "link.tif");
    Refuse([](SharpenRequest& r) { r.output = ""; }, {"no output"});
    Refuse([](SharpenRequest& r) { r.output = "/dev/null", r.overwrite = true; },
           {"'/dev/null' is a device"});
    Refuse([&](SharpenRequest& r) { r.output = existing; }, {"existing.tif", "exists", "--overwrite"});
    Refuse([&](SharpenRequest& r) { r.output = pan, r.overwrite = true; }, {"pan.tif", "one of the inputs"});
    Refuse([&](SharpenRequest& r) { r.output = folder / "link.tif", r.overwrite = true; },
           {"link.tif", "one of the inputs"});
    const std::string infrared = Make("ir.tif", {20, 20, 1, GDT_Byte, Grid(20.0), "EPSG:32630"});
    Refuse(
        [&](SharpenRequest& r) {
            r.infrared = rasterhost::InputBand{infrared, {}};
            r.output = infrared;
            r.overwrite = true;
        },
        {"ir.tif", "one of the inputs"});
    Refuse([&](SharpenRequest& r) { r.output = folder / "none/fused.tif"; }, {"none", "does not exist"});
    Refuse([&](SharpenRequest& r) { r.output = folder / ".", r.overwrite = true; }, {"is a folder"});
    Refuse([](SharpenRequest& r) { r.format = "NoFormat"; }, {"'NoFormat'", "gdalinfo --formats"});
    Refuse([](SharpenRequest& r) { r.format = "DIMAP"; }, {"'DIMAP'", "does not write it"});
    Refuse([](SharpenRequest& r) { r.format = "GIF"; }, {"'GIF' cannot hold an image of 3 bands of 8 bits"});
    Refuse([](SharpenRequest& r) { r.format = "GSBG"; }, {"it takes only 1 of 3 bands"});
    Refuse([](SharpenRequest& r) { r.format = "XYZ"; }, {"it keeps only 1 of 3 bands"});
    const std::string half = Make("half.tif", {10, 20, 3, GDT_Byte, Grid(20.0), "EPSG:32630"});
    Refuse(
        [&](SharpenRequest& r) {
            r.multispectral = {{half, {}}}, r.format = "GPKG";
        },
        {"it keeps no mask", "--nodata"});
    const struct {
        const char* format;
        std::vector<std::string> options, texts;
    } cases[] = {{"GTiff",
                  {"COMPRESS=DEFLATE", "ZLEVEL=99", "BLOCKXSIZE=17"},
                  {"'GTiff' cannot hold", "17", "TileWidth"}}, // the error, not the warning before it
                 {"GTiff", {"COMPRESS=CCITTFAX4"}, {"'GTiff' cannot hold", "Bits/sample"}},
                 {"GTiff", {"COMPRESS=NONSENSE"}, {"NONSENSE", "gdalinfo --format GTiff"}},
                 {"GTiff", {"COMPRES=LZW"}, {"COMPRES", "gdalinfo --format GTiff"}},
                 {"COG", {"TILED=YES"}, {"TILED", "gdalinfo --format COG"}}};
    for (const auto& c : cases)
        Refuse([&](SharpenRequest& r) { r.format = c.format, r.creationOptions = c.options; }, c.texts);
}

} // namespace
