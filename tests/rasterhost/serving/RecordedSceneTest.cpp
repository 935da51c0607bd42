#include "rasterhost/serving/RecordedScene.h"

#include "KnownPair.h"
#include "rasterhost/serving/SceneFile.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace {

using KOVA::Tessara::Fundament::Status;
using rasterhost::SceneRecord;
using rasterhost::SharpenRequest;
using testfiles::Folder;
namespace fs = std::filesystem;

/// Describes the scene of a request in a file beside it; throws on failure.
std::string Describe(SharpenRequest request, const Folder& folder) {
    request.output = folder / "scene.pansharp";
    request.plugin = PANSHARP_PLUGIN_FILE;
    SceneRecord record;
    rasterhost::SharpenReport report;
    Status status;
    const auto ignore = [](const std::string&) {};
    if (!rasterhost::RecordScene(request, record, report, status) ||
        !rasterhost::WriteSceneFile(record, request, ignore, status))
        throw std::runtime_error(status.ToText());
    return request.output;
}

/// A way to request a scene, made from a pair whose multispectral content is displaced by a pixel.
struct Way {
    const char* name;
    std::function<void(SharpenRequest&)> ask;
};

TEST(RecordedScene, HasTheBytesOfARunInOneStep) {
    const Folder folder;
    const SharpenRequest pair = testfiles::KnownPair{1, 4, {0.3, 0.3, 0.4, 0.1}, 56, 4, 0}.Write(folder);
    const auto makeCollar = [&](const std::string& file) {
        const GDALDatasetUniquePtr dataset(GDALDataset::Open(file.c_str(), GDAL_OF_UPDATE));
        for (int row = 0; row < dataset->GetRasterYSize(); ++row)
            for (int band = 1; band <= dataset->GetRasterCount(); ++band) {
                unsigned short zeros[48] = {};
                ASSERT_EQ(dataset->GetRasterBand(band)->RasterIO(GF_Write, 0, row, 5 + row % 40, 1, zeros,
                                                                 5 + row % 40, 1, GDT_UInt16, 0, 0, nullptr),
                          CE_None);
            }
    };
    const Way ways[] = {
        {"the default", [](SharpenRequest& request) { request.method = ""; }},
        {"given gains",
         [](SharpenRequest& request) {
             request.method = "";
             request.transfer = 0.25;
             request.gains = {{0.5, 0.1}, {0.0, 1.0}, {0.7, 0.0}, {0.1, 0.2}};
         }},
        {"fitted weights", [](SharpenRequest&) {}},
        {"equal weights",
         [](SharpenRequest& request) { request.weightSource = rasterhost::WeightSource::Equal; }},
        {"raw weights",
         [](SharpenRequest& request) {
             request.properties = {{"Weight1", "0.7"}};
         }},
        {"a measured shift", [](SharpenRequest& request) { request.measureShift = true; }},
        {"a found scale", [](SharpenRequest& request) { request.findScale = true; }},
        {"a bit depth", [](SharpenRequest& request) { request.bitDepth = 15; }},
        {"a part",
         [](SharpenRequest& request) {
             request.part = {500030.5, 3999900.0, 500100.0, 3999850.0};
         }},
        {"what all have",
         [](SharpenRequest& request) { request.onlyIntersection = request.measureShift = true; }},
        {"bands",
         [](SharpenRequest& request) {
             request.bands = {3, 1};
         }},
        {"transparency", [](SharpenRequest& request) { request.alpha = true; }},
        {"an infrared band",
         [](SharpenRequest& request) {
             request.infrared = {request.multispectral[0].file, 4};
             request.multispectral = {{request.infrared->file, 3}, {request.infrared->file, 1}};
         }},
        {"ihs", [](SharpenRequest& request) { request.method = "ihs"; }},
        {"a collar", [&](SharpenRequest& request) { makeCollar(request.multispectral[0].file); }},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        SharpenRequest request = pair;
        way.ask(request);
        request.overwrite = true;
        request.output = folder / "once.tif";
        testfiles::RunWell(request);
        const std::string file = Describe(request, folder);
        SceneRecord record;
        Status status;
        ASSERT_TRUE(rasterhost::ReadSceneFile(file, record, status)) << status.ToText();
        EXPECT_EQ(record.found.collars.at(1) != nullptr, std::string(way.name) == "a collar");
        SharpenRequest recorded = rasterhost::RequestOf(record);
        recorded.output = folder / "twice.tif";
        recorded.overwrite = true;
        recorded.plugin = PANSHARP_PLUGIN_FILE;
        rasterhost::SharpenReport report;
        ASSERT_TRUE(rasterhost::Sharpen(recorded, report, status, nullptr, &record.found)) << status.ToText();
        EXPECT_TRUE(testfiles::ReadText(request.output) == testfiles::ReadText(recorded.output));
    }
}

/// A change of the files after the scene was described, and the message when it is opened.
struct Change {
    const char* name;
    std::function<void(const Folder&)> make;
    bool opens;
    const char* says;
};

TEST(RecordedScene, TellsWhatHasChanged) {
    const auto write = [](const char* name, testfiles::FileShape shape, int add) {
        return [=](const Folder& folder) {
            folder.Write(name, shape,
                         [=](int c, int r, int b) { return (c * 7 + r * 5 + b * 3) % 90 + add; });
        };
    };
    const auto pan = write("pan.tif", {16, 16, 1, GDT_Byte, testfiles::Grid(1), {}}, 20);
    const auto ms = write("ms.tif", {8, 8, 3, GDT_Byte, testfiles::Grid(2), {}}, 20);
    const auto replace = [](const char* from, const char* to) {
        return [=](const Folder& folder) {
            std::string text = testfiles::ReadText(folder / "scene.pansharp");
            text.replace(text.find(from), std::string(from).size(), to);
            std::ofstream(folder / "scene.pansharp") << text;
        };
    };
    const Change changes[] = {
        {"nothing", [](const Folder&) {}, true, ""},
        {"overviews", [](const Folder& folder) { std::ofstream(folder / "pan.tif.ovr") << "x"; }, true, ""},
        {"pixels", write("pan.tif", {16, 16, 1, GDT_Byte, testfiles::Grid(1), {}}, 21), true,
         "the content of"},
        {"bytes", [](const Folder& folder) { std::ofstream(folder / "ms.tif", std::ios::app) << "more"; },
         true, "bytes and had"},
        {"size", write("ms.tif", {9, 8, 3, GDT_Byte, testfiles::Grid(2), {}}, 20), false,
         "files[1].columns was 8 and is 9"},
        {"bands", write("ms.tif", {8, 8, 4, GDT_Byte, testfiles::Grid(2), {}}, 20), false,
         "files[1].bands was 3 and is 4"},
        {"type", write("ms.tif", {8, 8, 3, GDT_UInt16, testfiles::Grid(2), {}}, 20), false,
         "files[1].type was Byte and is UInt16"},
        {"grid", write("pan.tif", {16, 16, 1, GDT_Byte, testfiles::Grid(1, 500001.0), {}}, 20), false,
         "files[0].grid was"},
        {"place", [](const Folder& folder) { fs::remove(folder / "ms.tif"); }, false,
         "was it moved or removed"},
        {"output", replace("\"columns\": 16", "\"columns\": 15"), false, "output.columns 15"},
        {"itself", replace("\"pan.tif\"", "\"scene.pansharp\""), false, "lacks the input"},
        {"no description", [](const Folder& folder) { std::ofstream(folder / "scene.pansharp") << "{}"; },
         false, "does not begin with the key"},
        {"no file", [](const Folder& folder) { fs::remove(folder / "scene.pansharp"); }, false,
         "cannot be opened"},
    };
    for (const Change& change : changes) {
        SCOPED_TRACE(change.name);
        const Folder folder;
        pan(folder);
        ms(folder);
        SharpenRequest request = testfiles::MakeRequest();
        request.pan.file = folder / "pan.tif";
        request.multispectral = {{folder / "ms.tif", {}}};
        const std::string file = Describe(request, folder);
        change.make(folder);
        Status status;
        SceneRecord record;
        rasterhost::RunOptions run;
        run.plugin = PANSHARP_PLUGIN_FILE;
        std::string warnings;
        const auto warn = [&](const std::string& text) { warnings += text; };
        const bool opens = rasterhost::ReadSceneFile(file, record, status) &&
                           rasterhost::CheckInputs(record, run, true, warn, status);
        EXPECT_EQ(opens, change.opens) << status.ToText();
        EXPECT_THAT(warnings + status.ToText(), testing::HasSubstr(change.says));
    }
}

TEST(RecordedScene, IsMadeOfImagesThatAreNoDescriptionsAndStayInTheirFolder) {
    const Folder folder, elsewhere;
    SharpenRequest request = testfiles::KnownPair{1, 4, {0.3, 0.3, 0.4, 0.1}, 40}.Write(folder);
    fs::copy_file(request.pan.file, elsewhere / "pan.tif");
    fs::create_symlink(elsewhere / "pan.tif", folder / "link.tif");
    const std::string file = Describe(request, folder);
    const auto fails = [&](const std::string& pan, const std::string& root, const char* says) {
        SharpenRequest asked = request;
        asked.pan.file = pan;
        asked.output = folder / "other.pansharp";
        asked.plugin = PANSHARP_PLUGIN_FILE;
        SceneRecord record;
        rasterhost::SharpenReport report;
        rasterhost::PreparedPair prepared;
        Status status;
        if (!root.empty()) setenv("PANSHARP_INPUT_ROOT", root.c_str(), 1);
        const auto ignore = [](const std::string&) {};
        const bool works = rasterhost::CheckSceneFile(asked, status) &&
                           rasterhost::RecordScene(asked, record, report, status) &&
                           rasterhost::WriteSceneFile(record, asked, ignore, status) &&
                           rasterhost::ReadSceneFile(asked.output, record, status) &&
                           rasterhost::PrepareRecorded(record, asked, ignore, prepared, status) ==
                               rasterhost::Preparation::Done;
        unsetenv("PANSHARP_INPUT_ROOT");
        fs::remove(asked.output);
        EXPECT_EQ(works, says == nullptr) << pan << status.ToText();
        EXPECT_THAT(status.ToText(), testing::HasSubstr(says ? says : ""));
    };
    const auto vrt =
        [&](const char* name, const std::string& source) {
            std::ofstream(folder / name)
                << "<VRTDataset rasterXSize='160' rasterYSize='160'><GeoTransform>500000,1,0,4000000,0,-1"
                   "</GeoTransform><VRTRasterBand dataType='UInt16' band='1'><SimpleSource><SourceFilename>"
                << source
                << "</SourceFilename><SourceBand>1</SourceBand></SimpleSource></VRTRasterBand></VRTDataset>";
            return folder / name;
        };
    const std::string plain = request.pan.file, root = (folder / "");
    fails(plain, "", nullptr);
    fails(plain, root, nullptr);
    fails(file, "", "is a description of a scene;");
    fails(elsewhere / "pan.tif", root, "lies outside");
    fails(folder / "link.tif", root, "lies outside");
    fails(root + "../" + fs::path(elsewhere / "").parent_path().filename().string() + "/pan.tif", root,
          "lies outside");
    fails(vrt("far.vrt", elsewhere / "pan.tif"), root, "is of the format VRT");
    fails(vrt("far.vrt", elsewhere / "pan.tif"), "", nullptr);
    std::ofstream(folder / "pan.tif.ovr") << testfiles::ReadText(folder / "far.vrt");
    fails(plain, root, "is of the format VRT");
    const std::string withMetadata =
        folder / "IMG_PHR1A_P_001_R1C1.TIF"; // beside it, as satellite images have it
    fs::copy_file(plain, withMetadata);
    std::ofstream(folder / "DIM_PHR1A_P_001.XML")
        << "<Dimap_Document><Metadata_Identification><METADATA_FORMAT version='2.0'>DIMAP</METADATA_FORMAT>"
           "</Metadata_Identification><Dataset_Content/></Dimap_Document>";
    fails(withMetadata, root, nullptr);
    std::ofstream(withMetadata + ".aux.xml")
        << "<PAMDataset><Metadata domain='OVERVIEWS'><MDI key='OVERVIEW_FILE'>"
           "DIM_PHR1A_P_001.XML</MDI></Metadata></PAMDataset>";
    fails(withMetadata, root, "is of the format DIMAP");
}

} // namespace
