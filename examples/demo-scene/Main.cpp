#include "Picture.h"
#include "Quality.h"
#include "Scene.h"

#include <gdal.h>

#include <exception>
#include <iostream>
#include <span>
#include <stdexcept>

namespace {

constexpr int sceneRows = 352;
constexpr int sceneColumns = 348;
constexpr std::size_t sceneBands = 4;
constexpr int ratio = 4;
constexpr std::array<std::size_t, 3> naturalColours{2, 1, 0};
const std::vector<std::string> bandNames{"blue", "green", "red", "near infrared"};

constexpr const char* usage = R"(demo-scene make IMAGE FOLDER
    Cuts the scene out of a Landsat 7 image: truth.tif, pan.tif (simulated), ms.tif, bilinear.tif
demo-scene quality TRUTH NAME FILE BANDS [NAME FILE BANDS ...]
    Errors against the truth; BANDS are the truth's bands that FILE shows, as in 1,2,3,4
demo-scene picture PAN UPSAMPLED FUSED PNG
    The three side by side
)";

void Make(const std::string& source, const std::string& folder) {
    const demo::Image truth = demo::Crop(demo::ReadImage(source), sceneRows, sceneColumns, sceneBands);
    const demo::Image multispectral = demo::AverageDown(truth, ratio);
    demo::WriteGeoTiff(truth, folder + "/truth.tif");
    demo::WriteGeoTiff(demo::MeanOfBands(truth), folder + "/pan.tif");
    demo::WriteGeoTiff(multispectral, folder + "/ms.tif");
    demo::WriteGeoTiff(demo::BilinearUp(multispectral, ratio), folder + "/bilinear.tif");
}

std::vector<std::size_t> BandList(const std::string& text) {
    std::vector<std::size_t> bands;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        if (text[at] < '1' || text[at] > '4' || (at + 1 < text.size() && text[at + 1] != ','))
            throw std::runtime_error("a list of bands reads like 1,2,3,4, not " + text);
        bands.push_back(static_cast<std::size_t>(text[at] - '1'));
    }
    return bands;
}

void Quality(const std::string& truth, std::span<const std::string> arguments) {
    std::vector<demo::Candidate> candidates;
    for (std::size_t i = 0; i + 2 < arguments.size(); i += 3)
        candidates.push_back({arguments[i], demo::ReadImage(arguments[i + 1]), BandList(arguments[i + 2])});
    demo::PrintQuality(std::cout, demo::ReadImage(truth), bandNames, candidates);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string verb = arguments.empty() ? "" : arguments[0];
    try {
        GDALAllRegister();
        if (verb == "make" && arguments.size() == 3)
            Make(arguments[1], arguments[2]);
        else if (verb == "quality" && arguments.size() >= 5 && (arguments.size() - 2) % 3 == 0)
            Quality(arguments[1], std::span(arguments).subspan(2));
        else if (verb == "picture" && arguments.size() == 5)
            demo::WritePng(demo::SideBySide(demo::ReadImage(arguments[1]), demo::ReadImage(arguments[2]),
                                            demo::ReadImage(arguments[3]), naturalColours),
                           arguments[4]);
        else {
            std::cerr << usage;
            return 2;
        }
    } catch (const std::exception& error) {
        std::cerr << "demo-scene: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
