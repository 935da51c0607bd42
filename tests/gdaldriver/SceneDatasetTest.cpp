#include "rasterhost/serving/RecordedScene.h"
#include "rasterhost/serving/SceneFile.h"
#include "support/RasterFiles.h"

#include <gdal_alg.h>
#include <gmock/gmock.h>

#include <cstdio>
#include <regex>
#include <sys/wait.h>

namespace {

using namespace testfiles;

/// A pair of three bands at the ratio 4 in a folder, pan of 700 x 530 pixels.
struct Pair {
    explicit Pair(GDALDataType type) {
        const auto value = [=](int column, int row, int band) {
            const auto noise = static_cast<unsigned>(column * 7919 + row * 104729 + band * 31) * 2654435761u;
            return (type == GDT_Byte ? 1 : 16) *
                   (20 + static_cast<unsigned>(column + 2 * row) % 97 + (noise >> 26));
        };
        request.pan.file = folder.Write("pan.tif", {700, 530, 1, type, Grid(10.0), "EPSG:32630"}, value);
        const auto shifted = [=](int column, int row, int band) {
            return value(column * 4, row * 4, band + 1);
        };
        request.multispectral = {
            {folder.Write("ms.tif", {175, 133, 3, type, Grid(40.0), "EPSG:32630"}, shifted), {}}};
        request.overwrite = true;
        request.plugin = PANSHARP_PLUGIN_FILE;
    }

    /// Writes once.tif and scene.pansharp.
    void Write() {
        rasterhost::SharpenReport report;
        rasterhost::SceneRecord record;
        rasterhost::Status status;
        request.output = folder / "once.tif";
        bool isWritten = rasterhost::Sharpen(request, report, status);
        request.output = folder / "scene.pansharp";
        isWritten = isWritten && rasterhost::RecordScene(request, record, report, status) &&
                    rasterhost::WriteSceneFile(
                        record, request, [](const std::string&) {}, status);
        if (!isWritten) throw std::runtime_error(status.ToText());
    }

    const int isFound = setenv("GDAL_DRIVER_PATH", PANSHARP_DRIVER_FOLDER, 1); // before `folder` starts GDAL
    Folder folder;
    rasterhost::SharpenRequest request;
};

/// Everything that a program sees of an image. Samples are summed by blocks, which include the mask.
std::vector<std::string> Tell(const std::string& file) {
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str()));
    if (!dataset) return {};
    std::array<double, 6> transform{};
    std::vector<std::string> told{dataset->GetProjectionRef()};
    for (char** item = dataset->GetMetadata(); item && *item; ++item)
        told.emplace_back(*item);
    std::sort(told.begin(), told.end());
    if (dataset->GetGeoTransform(transform.data()) == CE_None)
        for (const double value : transform)
            told.push_back(std::to_string(value));
    const auto sum = [](GDALRasterBand* band) {
        return std::to_string(GDALChecksumImage(band, 0, 0, band->GetXSize(), band->GetYSize()));
    };
    for (GDALRasterBand* band : dataset->GetBands()) {
        int hasNoData = FALSE;
        const double noData = band->GetNoDataValue(&hasNoData);
        told.insert(told.end(),
                    {band->GetDescription(), GDALGetColorInterpretationName(band->GetColorInterpretation()),
                     GDALGetDataTypeName(band->GetRasterDataType()),
                     hasNoData ? std::to_string(noData) : "all", std::to_string(band->GetMaskFlags()),
                     std::to_string(band->GetScale()), sum(band), sum(band->GetMaskBand())});
    }
    return told;
}

struct Variant {
    const char* name;
    GDALDataType type;
    std::function<void(Pair&)> change;
};

void LeaveGaps(Pair& pair) {
    const GDALDatasetUniquePtr dataset(
        GDALDataset::Open(pair.request.multispectral[0].file.c_str(), GDAL_OF_UPDATE));
    dataset->SetGeoTransform(Grid(40.0, 500120.0, 3999960.0)->data());
}

const Variant variants[] = {
    {"8 bits", GDT_Byte, [](Pair&) {}},
    {"a mask", GDT_Byte, LeaveGaps},
    {"transparency", GDT_UInt16,
     [](Pair& pair) {
         LeaveGaps(pair);
         pair.request.alpha = true;
     }},
    {"no data, a part, bands", GDT_UInt16,
     [](Pair& pair) {
         pair.request.noData = 800.0;
         pair.request.bands = {3, 1};
         pair.request.part = {500030.5, 3999900.0, 506100.0, 3994850.0};
     }},
    {"a scale", GDT_UInt16,
     [](Pair& pair) {
         pair.request.scale = {0.0, 4095.0};
     }},
};

TEST(SceneDataset, IsTheImageThatARunWrites) {
    for (const Variant& variant : variants) {
        SCOPED_TRACE(variant.name);
        Pair pair(variant.type);
        variant.change(pair);
        pair.Write();
        const std::string once = pair.folder / "once.tif", scene = pair.folder / "scene.pansharp";
        const auto before = pair.folder.List();
        EXPECT_TRUE(Tell(scene) == Tell(once)) << testing::PrintToString(Tell(scene));
        EXPECT_EQ(pair.folder.List(), before);
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(scene.c_str()));
        ASSERT_TRUE(dataset);
        const std::string copy =
            pair.folder / "copy.tif"; // copied in large windows, with only the mask read separately
        GDALClose(GetGDALDriverManager()->GetDriverByName("GTiff")->CreateCopy(
            copy.c_str(), dataset.get(), FALSE, nullptr, nullptr, nullptr));
        EXPECT_TRUE(Tell(copy) == Tell(once)) << testing::PrintToString(Tell(copy));
        const bool isMasked = dataset->GetRasterBand(1)->GetMaskFlags() == GMF_PER_DATASET;
        const int half = 2;
        EXPECT_EQ(dataset->BuildOverviews("NEAREST", 1, &half, 0, nullptr, nullptr, nullptr),
                  isMasked ? CE_Failure : CE_None);
        EXPECT_EQ(dataset->GetRasterBand(1)->SetNoDataValue(7.0), CE_Failure);
        EXPECT_EQ(dataset->CreateMaskBand(GMF_PER_DATASET), CE_Failure);
    }
}

/// A command line as typed, its exit code, and a word of its output, if any.
struct Line {
    const char* line;
    int code = 0;
    const char* says = "";
};

const Line lines[] = {
    {"gdalinfo scene.pansharp", 0, "Overviews: 350x265, 175x133"},
    {"gdalinfo marked.pansharp", 0, "Driver: PANSHARP"},
    {"gdal_translate -q -co TILED=YES -oo NUM_THREADS=3 scene.pansharp tiled.tif"},
    {"gdal_translate -q -of COG scene.pansharp cog.tif"},
    {"for of in 'scene.pansharp cached' 'scene.pansharp fused --config GDAL_CACHEMAX 200000' 'once.tif "
     "ready'; do "
     "set -- $of; gdal_translate -q -oo NUM_THREADS=3 -b 3 -b 1 -ot Float32 $1 $2.tif $3 $4 $5; done"},
    {"gdalwarp -q -multi -ovr NONE -tr 20 20 -r average scene.pansharp warped.tif"},
    {"gdalwarp -q -multi -ovr NONE -tr 20 20 -r average once.tif from-file.tif"},
    {"gdalmanage copy scene.pansharp below/copy.pansharp", 0, "cannot be created"},
    {"mkdir below && gdalmanage copy scene.pansharp below/copy.pansharp"},
    {"gdalmanage rename below/copy.pansharp below/second.pansharp && ls below", 0, "second.pansharp\n"},
    {"gdalmanage rename below/second.pansharp pan.tif", 0, "is one of the inputs"},
    {"gdalbuildvrt -q two.vrt scene.pansharp below/second.pansharp && gdal_translate -q two.vrt two.tif"},
    {"gdaladdo -q -ro below/second.pansharp 2 && gdalinfo below/second.pansharp", 0, "Overviews: 350x265\n"},
    {"gdalmanage rename below/second.pansharp scene.pansharp", 0, "or delete it first"},
    {"touch below/second.pansharp.msk && gdalmanage delete below/second.pansharp && ls below | wc -l", 0,
     "0\n"},
    {"gdalmanage delete scene.pansharp && ls *.tif *.pansharp", 0,
     "blank.pansharp\ncached.tif\nchanged.pansharp\ncog.tif\ncut.pansharp\nfrom-file.tif\nfused.tif\nmarked."
     "pansharp\nms.tif\n"
     "once.tif\npan.tif\nready.tif\nself.pansharp\ntiled.tif\ntwo.tif\nwarped.tif\n"},
    {"gdal_translate -q cut.pansharp no.tif", 1, "cut.pansharp"},
    {"gdal_translate -q changed.pansharp no.tif", 1, "701"},
    {"gdal_translate -q other.json no.tif", 1, "not recognized"},
    {"gdal_translate -q blank.pansharp no.tif", 1, "not recognized"},
    {"gdal_translate -q self.pansharp no.tif", 1, "cannot be an input of another"},
    {"printf '\\0' >> ms.tif; gdalinfo marked.pansharp", 0, "bytes and had"},
    {"PANSHARP_PLUGIN=no.process gdal_translate -q marked.pansharp no.tif", 1, "no plug-in file"},
    {"truncate -s 100K pan.tif && gdal_translate -q marked.pansharp no.tif", 1, "pan.tif"},
    {"rm ms.tif && gdal_translate -q marked.pansharp no.tif", 1, "was it moved or removed?"},
};

TEST(SceneDataset, ServesTheProgramsOfGdal) {
    if (!PANSHARP_HAS_PROGRAMS) GTEST_SKIP() << "the programs are not there, or cannot load the driver";
    Pair pair(GDT_Byte);
    pair.Write();
    const auto text = ReadText(pair.folder / "scene.pansharp");
    const auto write = [&](const char* name, std::string content, const char* from = "",
                           const std::string& to = "") {
        content.replace(content.find(from), std::string(from).size(), to);
        std::ofstream(pair.folder / name) << content;
    };
    write("marked.pansharp", "\xEF\xBB\xBF" + text);
    write("cut.pansharp", text.substr(0, text.size() / 2));
    write("changed.pansharp", text, "\"columns\": 700", "\"columns\": 701");
    write("blank.pansharp", text, "{", "{" + std::string(60, ' '));
    write("self.pansharp", std::regex_replace(text, std::regex("\"pan.tif\",\\s*\"relative\": true"),
                                              R"("vrt://self.pansharp", "relative": false)"));
    write("other.json",
          "{\"comment\": \"pansharp_scene\", \"type\": \"FeatureCollection\", \"features\": []}");
    for (const Line& line : lines) {
        FILE* pipe =
            popen(("cd '" + pair.folder.path.string() + "' && exec 2>&1 && " + line.line).c_str(), "r");
        std::string said(std::size_t{1} << 16, '\0');
        said.resize(fread(said.data(), 1, said.size(), pipe));
        EXPECT_EQ(WEXITSTATUS(pclose(pipe)), line.code) << line.line << "\n" << said;
        EXPECT_TRUE(*line.says ? said.find(line.says) != std::string::npos : said.empty())
            << line.line << "\n"
            << said;
    }
    for (const auto& [made, expected] : {std::pair("tiled.tif", "once.tif"),
                                         {"cog.tif", "once.tif"},
                                         {"two.tif", "once.tif"},
                                         {"warped.tif", "from-file.tif"},
                                         {"cached.tif", "ready.tif"},
                                         {"fused.tif", "ready.tif"}})
        EXPECT_TRUE(ReadAll(pair.folder / made) == ReadAll(pair.folder / expected)) << made;
}

} // namespace
