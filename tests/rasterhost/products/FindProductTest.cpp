#include "rasterhost/products/FindProduct.h"

#include "fundament/Text.h"
#include "support/RasterFiles.h"
#include "support/StatusText.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using KOVA::Tessara::Fundament::FormatString;
using rasterhost::InputBand;
using rasterhost::Product;
using testfiles::Folder;
using testing::HasSubstr;

/// Files with their texts; those without are empty, since no raster is opened for recognition.
using Files = std::vector<std::pair<std::string, std::string>>;

struct Case {
    const char* about;
    Files files;
    const char* asked; ///< below the folder
    /// The result: kind, then pan, then bands as "name=file:band", then what is left out after "-"; or the
    /// message.
    const char* expected;
};

void Make(const Folder& folder, const Files& files) {
    for (const auto& [name, text] : files) {
        std::filesystem::create_directories(std::filesystem::path(folder / name).parent_path());
        std::ofstream(folder / name) << text;
    }
}

std::string Describe(const Product& product) {
    const auto last = [](const InputBand& band) {
        return rasterhost::LastPart(band.file) + (band.band ? ":" + std::to_string(*band.band) : "");
    };
    std::string text = product.kind + ", " + last(product.pan);
    for (const InputBand& band : product.bands) {
        text += " " + band.name + "=" + last(band);
        if (band.meaning) text += FormatString("*%g%+g", band.meaning->scale, band.meaning->offset);
    }
    for (const auto& [what, why] : product.leftOut)
        text += " -" + what;
    if (product.noData) text += " nodata " + std::to_string(static_cast<int>(*product.noData));
    if (product.bitDepth) text += " bits " + std::to_string(*product.bitDepth);
    for (const double transfer : rasterhost::TransfersOf(product))
        text += FormatString(" mtf %g", transfer);
    return text;
}

std::string Mtl(const std::string& spacecraft, const std::string& level, const std::string& pan) {
    return "GROUP = LANDSAT_METADATA_FILE\n  GROUP = PRODUCT_CONTENTS\n    PROCESSING_LEVEL = \"" + level +
           "\"\n    FILE_NAME_BAND_2 = \"x_B2.TIF\"\n    FILE_NAME_BAND_4 = \"x_B4.TIF\"\n" +
           "    FILE_NAME_BAND_8 = \"" + pan +
           "\"\n    FILE_NAME_BAND_10 = \"x_B10.TIF\"\n  END_GROUP = X\n" +
           "  GROUP = IMAGE_ATTRIBUTES\n    SPACECRAFT_ID = \"" + spacecraft +
           "\"\n    DATE_ACQUIRED = 2021-05-06\n  END_GROUP = X\n" +
           "  GROUP = OTHER\n    PROCESSING_LEVEL = \"L1TP\"\n  END_GROUP = X\nEND_GROUP = X\nEND\n";
}

std::string Dim(const std::string& spectrum, const std::string& files, const std::string& more = "") {
    return "<?xml version=\"1.0\"?><Dimap_Document><Metadata_Identification><METADATA_FORMAT "
           "version=\"2.15\">DIMAP"
           "</METADATA_FORMAT></Metadata_Identification><Raster_Data><Data_Access>" +
           files +
           "</Data_Access><Raster_Dimensions><NBANDS>4</NBANDS></Raster_Dimensions>"
           "<Raster_Display><Special_Value><SPECIAL_VALUE_COUNT>0</SPECIAL_VALUE_COUNT>"
           "<SPECIAL_VALUE_TEXT>NODATA</SPECIAL_VALUE_TEXT></Special_Value><Special_Value>"
           "<SPECIAL_VALUE_COUNT>4095</SPECIAL_VALUE_COUNT><SPECIAL_VALUE_TEXT>SATURATED</SPECIAL_VALUE_TEXT>"
           "</Special_Value></Raster_Display></Raster_Data>" +
           more +
           "<Source><MISSION>PHR</MISSION><MISSION_INDEX>1A</MISSION_INDEX><IMAGING_DATE>2020-01-02</"
           "IMAGING_DATE>"
           "</Source><SPECTRAL_PROCESSING>" +
           spectrum + "</SPECTRAL_PROCESSING></Dimap_Document>";
}

std::string DimFile(const std::string& file) {
    return "<Data_File tile_R=\"1\" tile_C=\"1\"><DATA_FILE_PATH href=\"" + file + "\"/></Data_File>";
}

std::string DimFiles(const std::string& files) { return "<Data_Files>" + files + "</Data_Files>"; }

std::string Imd(const std::string& bands, const std::string& enhancement = "Off") {
    return "version = \"AA\";\nbitsPerPixel = 16;\nradiometricEnhancement = \"" + enhancement + "\";\n" +
           bands +
           "BEGIN_GROUP = IMAGE_1\n\tsatId = \"WV02\";\n\tfirstLineTime = 2011-07-21T12:17:22Z;\nEND_GROUP = "
           "IMAGE_1\nEND;\n";
}

const std::string imdPan = "BEGIN_GROUP = BAND_P\n\tabsCalFactor = 0.1;\nEND_GROUP = BAND_P\n";
const std::string imdColours = "BEGIN_GROUP = BAND_B\nEND_GROUP = BAND_B\nBEGIN_GROUP = BAND_G\nEND_GROUP = "
                               "BAND_G\nBEGIN_GROUP = BAND_N2\nEND_GROUP = BAND_N2\n";

std::string Stac(const std::string& assets) {
    return R"({"type": "Feature", "stac_version": "1.0.0", "id": "scene",
        "properties": {"platform": "landsat-9", "datetime": "2022-03-04T05:06:07Z"}, "assets": {)" +
           assets + "}}";
}

const std::string stacPan =
    R"("pan": {"href": "./p.tif", "eo:bands": [{"name": "B8", "common_name": "pan"}], "raster:bands": [{"nodata": 0}]})";

std::string ManyAssets(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += FormatString(R"(, "a%d": {"href": "x.tif"})", i);
    return text;
}

const std::string l8 = "LC08_L1TP_016037_20170813_20170814_01_RT_";
const std::string l7 = "LE07_L1TP_195025_20010730_20170204_01_T1_";

const Case cases[] = {
    {"names alone, in lower case, with a thermal band",
     {{"d/" + l8 + "b8.tif", ""},
      {"d/" + l8 + "b4.tif", ""},
      {"d/" + l8 + "b10.tif", ""},
      {"d/notes.txt", "x"}},
     "d",
     "Landsat 8 Level-1, LC08_L1TP_016037_20170813_20170814_01_RT_b8.tif:1 "
     "red=LC08_L1TP_016037_20170813_20170814_01_RT_b4.tif:1 "
     "-LC08_L1TP_016037_20170813_20170814_01_RT_b10.tif nodata 0"},
    {"Landsat 7, both gains of its thermal band",
     {{l7 + "B8.TIF", ""}, {l7 + "B1.TIF", ""}, {l7 + "B6_VCID_1.TIF", ""}, {l7 + "B6_VCID_2.TIF", ""}},
     "",
     "Landsat 7 Level-1, LE07_L1TP_195025_20010730_20170204_01_T1_B8.TIF:1 "
     "blue=LE07_L1TP_195025_20010730_20170204_01_T1_B1.TIF:1 "
     "-LE07_L1TP_195025_20010730_20170204_01_T1_B6_VCID_1.TIF "
     "-LE07_L1TP_195025_20010730_20170204_01_T1_B6_VCID_2.TIF nodata 0"},
    {"no pan", {{l8 + "B4.TIF", ""}}, "", "lacks the panchromatic band, B8"},
    {"two scenes",
     {{l8 + "B8.TIF", ""}, {l8 + "B4.TIF", ""}, {l7 + "B8.TIF", ""}, {l7 + "B1.TIF", ""}},
     "",
     "has 2 products; name the folder or the metadata file of one:\n  LC08"},
    {"metadata as text; a band that it names is missing; blanks in the folder's name",
     {{"a b/x_MTL.txt", Mtl("LANDSAT_9", "L1TP", "x_B8.TIF")}, {"a b/x_B8.TIF", ""}, {"a b/x_b4.tif", ""}},
     "a b/x_MTL.txt",
     "Landsat 9 Level-1, x_B8.TIF:1 red=x_b4.tif:1 -x_B2.TIF -x_B10.TIF nodata 0"},
    {"metadata as JSON",
     {{"x_MTL.json", R"({"LANDSAT_METADATA_FILE": {"PRODUCT_CONTENTS": {"PROCESSING_LEVEL": "L1GT",
       "FILE_NAME_BAND_8": "x_B8.TIF", "FILE_NAME_BAND_3": "x_B3.TIF"},
       "IMAGE_ATTRIBUTES": {"SPACECRAFT_ID": "LANDSAT_8"}}})"},
      {"x_B8.TIF", ""},
      {"x_B3.TIF", ""}},
     "",
     "Landsat 8 Level-1, x_B8.TIF:1 green=x_B3.TIF:1 nodata 0"},
    {"metadata as XML",
     {{"x_MTL.xml",
       "<M><P><PROCESSING_LEVEL>L1TP</PROCESSING_LEVEL><FILE_NAME_BAND_8>x_B8.TIF</FILE_NAME_BAND_8>"
       "<FILE_NAME_BAND_3>x_B3.TIF</FILE_NAME_BAND_3></P><SPACECRAFT_ID>LANDSAT_7</SPACECRAFT_ID></M>"},
      {"x_B8.TIF", ""},
      {"x_B3.TIF", ""}},
     "",
     "Landsat 7 Level-1, x_B8.TIF:1 red=x_B3.TIF:1 nodata 0"},
    {"Level-2",
     {{"x_MTL.txt", Mtl("LANDSAT_8", "L2SP", "")}},
     "",
     "of level 'L2SP'; only Level-1 has a pan band"},
    {"Landsat 5", {{"x_MTL.txt", Mtl("LANDSAT_5", "L1TP", "")}}, "", "Landsat 7, 8 and 9 have a pan band"},
    {"metadata that name a file elsewhere",
     {{"d/x_MTL.txt", Mtl("LANDSAT_8", "L1TP", "../x_B8.TIF")}, {"x_B8.TIF", ""}, {"d/x_B4.TIF", ""}},
     "d",
     "lacks the panchromatic band, B8"},
    {"damaged metadata",
     {{"x_MTL.json", "{\"A\": "}},
     "",
     "'x_MTL.json', cannot be used: it is not JSON, or is cut short, at byte 7"},
    {"names and metadata in other letter case",
     {{l8 + "B8.TIF", ""}, {"lc08_l1tp_016037_20170813_20170814_01_rt_mtl.txt", "x"}},
     "",
     "_mtl.txt', cannot be used"},
    {"metadata of another satellite than the names",
     {{"x_MTL.txt", Mtl("LANDSAT_7", "L1TP", l8 + "B8.TIF")}, {l8 + "B8.TIF", ""}, {"x_B4.TIF", ""}},
     "x_MTL.txt",
     "_B8.TIF' is band 8 of Landsat 7, and the name of that file says otherwise"},
    {"metadata that name one file twice",
     {{"x_MTL.txt", Mtl("LANDSAT_8", "L1TP", "x_B4.TIF")}, {"x_B4.TIF", ""}},
     "",
     "'red' and 'pan' are both band 1 of"},
    {"names that people give",
     {{"s_pan.tif", ""}, {"s_Red.tif", ""}, {"s_thermal.tif", ""}, {"s_NIR.tif", ""}, {"s_mask.tif", ""}},
     "",
     "folder with the names of bands, s_pan.tif red=s_Red.tif nir=s_NIR.tif -s_thermal.tif"},
    {"a pan and all bands in one",
     {{"pan.tif", ""}, {"ms.tif", ""}},
     "",
     "folder with the names of bands, pan.tif =ms.tif"},
    {"bands by their letters",
     {{"pan.tif", ""}, {"ms_bgrn.tif", ""}},
     "",
     "folder with the names of bands, pan.tif blue=ms_bgrn.tif:1 green=ms_bgrn.tif:2 red=ms_bgrn.tif:3 "
     "nir=ms_bgrn.tif:4"},
    {"the name of the scene behind that of the band",
     {{"PAN_a b.tif", ""}, {"ms-a b.tif", ""}},
     "",
     "folder with the names of bands, PAN_a b.tif =ms-a b.tif"},
    {"names around that of the band",
     {{"a_PAN_1.tif", ""}, {"a_MUL_1.tif", ""}, {"a_pan_ms_1.tif", ""}},
     "",
     "folder with the names of bands, a_PAN_1.tif =a_MUL_1.tif"},
    {"names of one letter, among others of the kind",
     {{"P.tif", ""},
      {"r.tif", ""},
      {"G.tif", ""},
      {"B.tif", ""},
      {"N.tif", ""},
      {"s_p.tif", ""},
      {"s_n.tif", ""}},
     "",
     "folder with the names of bands, P.tif blue=B.tif green=G.tif red=r.tif nir=N.tif"},
    {"numbers of Landsat 8 or 9",
     {{"B8.tif", ""}, {"b3.tif", ""}, {"B10.tif", ""}, {"B.tif", ""}, {"x-B4.tif", ""}},
     "",
     "Landsat 8 or 9 Level-1, B8.tif:1 green=b3.tif:1 -B10.tif nodata 0"},
    {"the prefix of a satellite and numbers",
     {{"L7_B8.tif", ""}, {"L7_B3.tif", ""}},
     "",
     "Landsat 7 Level-1, L7_B8.tif:1 red=L7_B3.tif:1 nodata 0"},
    {"numbers of any satellite",
     {{"s_B8.tif", ""}, {"s_B4.tif", ""}},
     "",
     "Landsat 8 or 9 (B4 red), of Landsat 7 (B4 nir), or of Sentinel-2"},
    {"numbers of Sentinel-2", {{"s_B8.tif", ""}, {"s_B4.tif", ""}, {"s_B8A.tif", ""}}, "", "has no pan band"},
    {"two pans",
     {{"pan.tif", ""}, {"pan.jp2", ""}, {"._x_pan.tif", ""}, {"red.tif", ""}},
     "",
     "are both called pan"},
    {"bands twice",
     {{"pan.tif", ""}, {"ms.tif", ""}, {"red.tif", ""}},
     "",
     "multispectral bands: 'ms.tif' 'red.tif';"},
    {"tiles that are called otherwise",
     {{"a-P2AS-1.IMD", Imd(imdPan)},
      {"a-P2AS-1.TIL", "BEGIN_GROUP = TILE_1\n\tfilename = \"a_R1-P2AS-1.TIF\";\nEND_GROUP = TILE_1\nEND;\n"},
      {"a_r1-p2as-1.tif", ""}},
     "",
     "names 'a_R1-P2AS-1.TIF', and the file is called 'a_r1-p2as-1.tif'"},
    {"nothing", {{"a.tif", ""}}, "", "is not a known kind of product; the known kinds are: Landsat"},
    {"a text", {{"a.xml", "<a>"}}, "a.xml", "/a.xml' cannot be used: it is not complete XML"},
    {"DIMAP, pan and bands side by side, the usual order",
     {{"P_1/DIM_P.XML", Dim("P", DimFiles(DimFile("P.TIF")))},
      {"P_1/P.TIF", ""},
      {"MS_1/DIM_MS.XML", Dim("MS", DimFiles(DimFile("MS.TIF")))},
      {"MS_1/MS.TIF", ""}},
     "P_1/DIM_P.XML",
     "Pléiades 1A, DIMAP 2, P.TIF:1 red=MS.TIF:1 green=MS.TIF:2 blue=MS.TIF:3 nir=MS.TIF:4 nodata 0 bits 12"},
    {"DIMAP with a list of bands and tiles",
     {{"DIM_P.XML", Dim("P", DimFiles(DimFile("P_R1C1.TIF") + DimFile("P_R1C2.TIF")))},
      {"P_R1C1.TIF", ""},
      {"P_R1C2.TIF", ""},
      {"DIM_M.XML", Dim("MS", DimFiles(DimFile("M.TIF")),
                        "<Raster_Index><BAND_ID>B3</BAND_ID><BAND_INDEX>2</BAND_INDEX></Raster_Index>"
                        "<Raster_Index><BAND_ID>B0</BAND_ID><BAND_INDEX>1</BAND_INDEX></Raster_Index>")},
      {"M.TIF", ""}},
     "",
     "Pléiades 1A, DIMAP 2, DIM_P.XML:1 blue=M.TIF:1 nir=M.TIF:2 nodata 0 bits 12"},
    {"DIMAP with tiles that overlap",
     {{"DIM_P.XML",
       Dim("P", DimFiles(DimFile("P_R1C1.TIF") + DimFile("P_R1C2.TIF")), "<OVERLAP_COL>4</OVERLAP_COL>")},
      {"P_R1C1.TIF", ""},
      {"P_R1C2.TIF", ""}},
     "",
     "the tiles of 'DIM_P.XML' overlap"},
    {"DIMAP in two files of three bands",
     {{"DIM_P.XML", Dim("P", DimFiles(DimFile("P.TIF")))},
      {"P.TIF", ""},
      {"DIM_M.XML", Dim("MS-FS", DimFiles(DimFile("M_RGB_1.TIF")) + DimFiles(DimFile("M_NED_1.TIF")))},
      {"M_RGB_1.TIF", ""},
      {"M_NED_1.TIF", ""}},
     "",
     "Pléiades 1A, DIMAP 2, P.TIF:1 red=M_RGB_1.TIF:1 green=M_RGB_1.TIF:2 blue=M_RGB_1.TIF:3 "
     "nir=M_NED_1.TIF:1 "
     "rededge=M_NED_1.TIF:2 coastal=M_NED_1.TIF:3 nodata 0 bits 12"},
    {"DIMAP, sharpened already",
     {{"DIM_X.XML", Dim("PMS", DimFiles(DimFile("X.TIF")))}, {"X.TIF", ""}},
     "",
     "no panchromatic"},
    {"DIMAP whose image is missing",
     {{"DIM_P.XML", Dim("P", DimFiles(DimFile("P.TIF")))}},
     "",
     "names 'P.TIF', which does not exist"},
    {"WorldView, one with tiles",
     {{"PAN/11JUL-P2AS-05_P001.IMD", Imd(imdPan)},
      {"PAN/11JUL-P2AS-05_P001.TIL", ""},
      {"MUL/11JUL-M2AS-05_P001.IMD", Imd(imdColours)},
      {"MUL/11JUL-M2AS-05_P001.TIF", ""}},
     "MUL",
     "WorldView-2, 11JUL-P2AS-05_P001.TIL:1 blue=11JUL-M2AS-05_P001.TIF:1 green=11JUL-M2AS-05_P001.TIF:2 "
     "nir2=11JUL-M2AS-05_P001.TIF:3 nodata 0 bits 11 mtf 0.35 mtf 0.35 mtf 0.27"},
    {"DIMAP in two files of which nothing tells the bands",
     {{"DIM_M.XML", Dim("MS-FS", DimFiles(DimFile("A.TIF")) + DimFiles(DimFile("B.TIF")),
                        "<Raster_Index><BAND_ID>B3</BAND_ID><BAND_INDEX>2</BAND_INDEX></Raster_Index>")},
      {"A.TIF", ""},
      {"B.TIF", ""}},
     "",
     "'DIM_M.XML' does not say which bands 'B.TIF' has"},
    {"WorldView whose values were changed",
     {{"a-P2AS-1.IMD", Imd(imdPan, "ACOMP")},
      {"a-P2AS-1.TIF", ""},
      {"a-M2AS-1-S.IMD", Imd(imdColours, "ACOMP")},
      {"a-M2AS-1-S.TIF", ""},
      {"a-S2AS-1.IMD", Imd(imdColours)},
      {"a-S2AS-1.TIF", ""}},
     "",
     "WorldView-2, a-P2AS-1.TIF:1 blue=a-M2AS-1-S.TIF:1 green=a-M2AS-1-S.TIF:2 nir2=a-M2AS-1-S.TIF:3 "
     "-a-S2AS-1.TIF nodata 0 mtf 0.35 mtf 0.35 mtf 0.27"},
    {"STAC 1.0, relative and remote, a picture of all",
     {{"scene.json",
       Stac(stacPan + R"(, "b4": {"href": "https://x.org/b4.tif", "eo:bands": [{"common_name": "red"}],
        "raster:bands": [{"nodata": 0, "scale": 2e-05, "offset": -0.1}]}, "look": {"href": "l.tif", "roles": ["visual"], "eo:bands": [{"common_name": "red"}]},
        "lwir": {"href": "t.tif", "eo:bands": [{"common_name": "lwir11"}]}, "mtl": {"href": "x.txt"})")},
      {"p.tif", ""}},
     "",
     "STAC item of landsat-9, p.tif:1 red=b4.tif:1*2e-05-0.1 -asset 'look' -asset 'lwir' nodata 0"},
    {"STAC 1.1, bands in one file, beside another product",
     {{l8 + "B8.TIF", ""},
      {l8 + "B4.TIF", ""},
      {"i.json",
       Stac(
           R"("p": {"href": "p.tif", "nodata": 0, "raster:bits_per_sample": 12, "bands": [{"eo:common_name": "pan"}]},
        "m": {"href": "m.tif", "bits_per_sample": 12, "raster:scale": 0.5, "bands": [{"eo:center_wavelength": 0.66, "nodata": 1}, {"name": "green"}, {"name": "x"}]})")},
      {"p.tif", ""},
      {"m.tif", ""}},
     "i.json",
     "STAC item of landsat-9, p.tif:1 red=m.tif:1*0.5+0 green=m.tif:2*0.5+0 -asset 'm' bits 12"},
    {"STAC without pan",
     {{"i.json", Stac(R"("m": {"href": "m.tif", "bands": [{"name": "red"}]})")}},
     "",
     "common name 'pan'"},
    {"STAC whose link is another thing to open",
     {{"i.json", Stac(R"("p": {"href": "/vsimem/x", "bands": [{"name": "pan"}]})")}},
     "",
     "of the pan asset, its link '/vsimem/x'"},
    {"STAC with as many parts as fit into 10 MB, and a link to itself",
     {{"i.json", Stac(stacPan + R"(, "m": {"href": "i.json", "bands": [{"name": "red"}]}, "note": ")" +
                      std::string(10'000'000, 'x') + '"' + ManyAssets(40000))},
      {"p.tif", ""}},
     "i.json",
     "STAC item of landsat-9, p.tif:1 red=i.json:1"},
    {"JSON with a number that none holds",
     {{"x_MTL.json", "{\"A\": 1e999}"}},
     "",
     "number that is too large, at byte 11"},
    {"deep JSON", {{"x_MTL.json", "{\"a\":" + std::string(5000, '[')}}, "", "nested too deeply"},
};

} // namespace

TEST(FindProduct, KnowsWhatPeopleGet) {
    for (const Case& each : cases) {
        SCOPED_TRACE(each.about);
        const Folder folder;
        Make(folder, each.files);
        Product product;
        KOVA::Tessara::Fundament::Status status;
        const auto result = rasterhost::FindProduct(folder / each.asked, product, status);
        if (result == rasterhost::ProductSearch::Found) {
            EXPECT_EQ(Describe(product), each.expected);
        } else {
            EXPECT_EQ(result, rasterhost::ProductSearch::Failed);
            EXPECT_THAT(support::StatusText(status), HasSubstr(each.expected));
        }
    }
}

// Archives are read in place. Names that lead out of one, and circular links, make no difference.
TEST(FindProduct, ReadsArchivesAsDelivered) {
    const Folder folder;
    Make(folder, {{"in/" + l8 + "B8.TIF", ""}, {"in/" + l8 + "B2.TIF", ""}, {l8 + "B4.TIF", ""}});
    const std::string script =
        "cd '" + (folder / "in") +
        "' && tar cf ../a.tar . && tar czf ../a.TAR.GZ . && tar czf ../a.tgz * && mkdir ../d.tar && cp *.TIF "
        "../d.tar && mkfifo pipe.json && "
        "tar cPf ../out.tar ../*_B4.TIF *.TIF && python3 -m zipfile -c ../a.zip *.TIF && "
        "head -c 300 ../a.zip >../cut.zip && head -c 2000000 /dev/urandom >b4 && cp b4 " +
        l8 +
        "B1.TIF && tar cf - . | head -c 1000000 >../cut.tar && tar cz b4 *.TIF 2>/dev/null | head -c 900000 "
        ">../cut.tgz "
        "&& rm b4 *B1.TIF && ln -s . round && ln -s ../in round2 && mkdir -p ../m/{1..501} "
        "&& "
        "python3 -m zipfile -c ../folders.zip ../m && head -c 17M /dev/zero | tr '\\0' '\\n' >" +
        l8 +
        "MTL.txt && "
        "python3 -m zipfile -c ../bomb.zip *.TIF *.txt && rm *.txt";
    Make(folder, {{"make.sh", script}});
    ASSERT_EQ(std::system(("bash '" + (folder / "make.sh") + "'").c_str()), 0);
    const std::string good = "Landsat 8 Level-1, " + l8 + "B8.TIF:1 blue=" + l8 + "B2.TIF:1 nodata 0";
    const std::pair<const char*, std::string> archives[] = {
        {"a.tar", good},
        {"a.TAR.GZ", good},
        {"a.tgz", good},
        {"a.zip", good},
        {"d.tar", good},
        {"in", good},
        {"out.tar", good},
        {"cut.zip", "cut.zip' cannot be read; was it"},
        {"cut.tar", "cut.tar' cannot be read beyond the beginning of '"},
        {"cut.tgz", "cut.tgz' cannot be read beyond the beginning of 'b4'; was it"},
        {"folders.zip", "more than 500 folders"},
        {"bomb.zip", "larger than 16 MB"},
    };
    for (const auto& [name, expected] : archives) {
        SCOPED_TRACE(name);
        Product product;
        KOVA::Tessara::Fundament::Status status;
        const auto found = rasterhost::FindProduct(folder / name, product, status);
        EXPECT_THAT(found == rasterhost::ProductSearch::Found ? Describe(product)
                                                              : support::StatusText(status),
                    HasSubstr(expected));
    }
}
