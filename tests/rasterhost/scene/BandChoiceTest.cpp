#include "rasterhost/scene/BandChoice.h"

#include "SceneFiles.h"
#include "support/StatusText.h"

#include <gmock/gmock.h>

using namespace testfiles;
using testing::HasSubstr;

namespace {

/// What a file tells about its bands, and which of them are requested.
struct Saying {
    const char* file;
    std::vector<const char*> descriptions;
    std::vector<GDALColorInterp> colours;
    std::vector<const char*> wavelengths; ///< nanometres
    std::vector<std::string> wanted;
    std::vector<int> numbers; ///< empty when the request is refused
};

const std::vector<std::string> natural{"red", "green", "blue"};
const Saying sayings[] = {
    {"ms.tif", {"Blue", "B3 (green)", "Red band", "near infrared"}, {}, {}, {"nir", "red"}, {4, 3}},
    {"ms.tif", {"blue green", "Red edge", "", "green"}, {}, {}, {"rededge", "green"}, {2, 4}},
    {"ms.tif", {"blue green", "", "", ""}, {}, {}, {"blue"}, {}},
    {"ms.tif", {"red", "red", "", ""}, {}, {}, {"red"}, {}},
    {"ms.tif", {}, {GCI_BlueBand, GCI_GreenBand, GCI_RedBand, GCI_Undefined}, {}, natural, {3, 2, 1}},
    // A description takes precedence over the colour.
    {"ms.tif", {"blue"}, {GCI_RedBand, GCI_GreenBand, GCI_BlueBand, GCI_Undefined}, {}, {"red"}, {}},
    // Four bands that a program marked as colours and transparency, although the last is not transparency.
    {"ms.tif", {}, {GCI_RedBand, GCI_GreenBand, GCI_BlueBand, GCI_AlphaBand}, {}, natural, {}},
    {"ms.tif", {}, {}, {"482", "561", "655", "865"}, {"nir", "blue"}, {4, 1}},
    {"scene_NIR.tif", {""}, {}, {}, {"nir"}, {1}},
    {"red_valley.tif", {""}, {}, {}, {"red"}, {}},
};

} // namespace

TEST(BandChoice, NamesComeFromWhatFilesSay) {
    for (const Saying& saying : sayings) {
        const Folder folder;
        SCOPED_TRACE(&saying - sayings);
        const int bands = saying.descriptions.size() == 1 && !*saying.descriptions[0] ? 1 : 4;
        rasterhost::PairRequest request;
        request.multispectral = {
            {folder.Write(saying.file,
                          {20, 20, bands, GDT_Byte, Grid(1.0), {}, {}, {"PHOTOMETRIC=MINISBLACK"}},
                          [](int column, int, int band) { return column + 50 * band; }),
             {}}};
        {
            GDALDatasetUniquePtr file(
                GDALDataset::Open(request.multispectral[0].file.c_str(), GDAL_OF_UPDATE));
            const auto band = [&](std::size_t place) {
                return file->GetRasterBand(static_cast<int>(place) + 1);
            };
            for (std::size_t i = 0; i < saying.descriptions.size(); ++i)
                band(i)->SetDescription(saying.descriptions[i]);
            for (std::size_t i = 0; i < saying.colours.size(); ++i)
                band(i)->SetColorInterpretation(saying.colours[i]);
            for (std::size_t i = 0; i < saying.wavelengths.size(); ++i) {
                band(i)->SetMetadataItem("wavelength", saying.wavelengths[i]);
                band(i)->SetMetadataItem("wavelength_units", "Nanometers");
            }
        }
        request.bandNames = saying.wanted;
        KOVA::Tessara::Fundament::Status status;
        EXPECT_EQ(rasterhost::ResolveBands(request, status), !saying.numbers.empty());
        if (!saying.numbers.empty()) {
            EXPECT_EQ(request.bands, saying.numbers) << support::StatusText(status);
        } else {
            EXPECT_THAT(support::StatusText(status), HasSubstr("name those to write by number"));
        }
    }
}

// The output names its bands, so that other programs show it in natural colours.
TEST(BandChoice, OutputSaysWhatItsBandsAre) {
    const Folder folder;
    rasterhost::SharpenRequest request = MakeRequest();
    const auto ground = [](int column, int row, int band) { return 20 + 9 * band + (column * 7 + row) % 40; };
    request.pan = {folder.Write("pan.tif", {40, 40, 1, GDT_Byte, Grid(1.0), {}}, ground), {}};
    const auto ms = folder.Write("ms.tif", {20, 20, 4, GDT_Byte, Grid(2.0), {}}, ground);
    const char* names[] = {"nir", "blue", "green", "red"};
    for (int band = 1; band <= 4; ++band)
        request.multispectral.push_back({ms, band, names[band - 1], 0.9 - 0.1 * band});
    request.bands = {1, 4, 3, 2};
    request.output = folder / "out.tif";
    const Outcome run = RunWell(request);
    EXPECT_EQ(rasterhost::FindShownBands(*run.pair.scene).bands, (std::array<std::size_t, 3>{1, 2, 3}));
    EXPECT_FALSE(rasterhost::FindShownBands(*run.pair.scene).isGuessed);
    GDALDatasetUniquePtr output(GDALDataset::Open(request.output.c_str()));
    const GDALColorInterp colours[] = {GCI_Undefined, GCI_RedBand, GCI_GreenBand, GCI_BlueBand};
    for (int band = 1; band <= 4; ++band) {
        GDALRasterBand& written = *output->GetRasterBand(band);
        const int from = request.bands[static_cast<std::size_t>(band - 1)];
        EXPECT_STREQ(written.GetDescription(), names[from - 1]);
        EXPECT_EQ(written.GetColorInterpretation(), colours[band - 1]);
        EXPECT_DOUBLE_EQ(CPLAtof(written.GetMetadataItem("CENTRAL_WAVELENGTH_UM", "IMAGERY")),
                         0.9 - 0.1 * from);
    }
}
