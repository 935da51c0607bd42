#include "Picture.h"
#include "Quality.h"
#include "Scene.h"

#include <gmock/gmock.h>

#include <cmath>
#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

demo::Image Row(std::vector<std::vector<std::uint8_t>> bands) {
    demo::Image image = demo::Image{}.Like(static_cast<int>(bands[0].size()), 1, bands.size(), 1.0);
    image.bands = std::move(bands);
    return image;
}

TEST(DemoScene, RoundsMeansHalfUp) {
    // Sums 1, 2, 3 of four bands: 0.25, 0.5, 0.75.
    EXPECT_THAT(demo::MeanOfBands(Row({{1, 1, 1}, {0, 1, 1}, {0, 0, 1}, {0, 0, 0}})).bands[0],
                ElementsAre(0, 1, 1));

    demo::Image fine = demo::Image{}.Like(5, 2, 1, 1.0);
    fine.bands[0] = {1, 0, 255, 255, 9, 1, 0, 255, 254, 9}; // the fifth column does not fill a coarse pixel
    const demo::Image coarse = demo::AverageDown(fine, 2);
    EXPECT_THAT(coarse.bands[0], ElementsAre(1, 255));
    EXPECT_EQ(coarse.geoTransform[1], 2.0);
}

TEST(DemoScene, UpsamplesBetweenPixelCentresAndKeepsTheEdges) {
    // Centres 40 apart over 4 fine pixels, the first fine pixel an eighth past the half way: 5, 15, 25, 35.
    EXPECT_THAT(demo::BilinearUp(Row({{0, 40}}), 4).bands[0],
                ElementsAre(0, 0, 5, 15, 25, 35, 40, 40, 0, 0, 5, 15, 25, 35, 40, 40, 0, 0, 5, 15, 25, 35, 40,
                            40, 0, 0, 5, 15, 25, 35, 40, 40));
}

TEST(DemoScene, CutsTheUpperLeftAndRefusesASmallerImage) {
    demo::Image image = demo::Image{}.Like(3, 2, 2, 1.0);
    image.bands = {{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}};
    EXPECT_THAT(demo::Crop(image, 2, 2, 1).bands, ElementsAre(ElementsAre(1, 2, 4, 5)));
    EXPECT_THROW((void)demo::Crop(image, 3, 2, 1), std::runtime_error);
}

TEST(DemoScene, SaysInWhichBandAMethodIsWorse) {
    const demo::Image truth = Row({{10, 10}, {20, 20}, {30, 30}});
    std::ostringstream out;
    demo::PrintQuality(out, truth, {"blue", "green", "red"},
                       {{"plain", Row({{13, 14}, {20, 21}, {30, 30}}), {0, 1, 2}},
                        {"fused", Row({{25, 25}, {10, 11}}), {1, 0}}});
    EXPECT_THAT(out.str(), HasSubstr("3.54")); // sqrt((9 + 16) / 2)
    EXPECT_THAT(out.str(), HasSubstr("fused helps in blue.\nfused is WORSE than plain in green.\n"));
    EXPECT_THAT(demo::RootMeanSquareErrors(truth, {"", Row({{25, 25}, {10, 12}}), {1, 0}}),
                ElementsAre(std::sqrt(2.0), 5.0, std::nullopt));
    EXPECT_THROW((void)demo::RootMeanSquareErrors(truth, {"", Row({{1, 2}}), {0, 1}}), std::runtime_error);
    EXPECT_THROW((void)demo::RootMeanSquareErrors(truth, {"", Row({{1}}), {0}}), std::runtime_error);
}

TEST(DemoScene, StretchesAllThreePicturesByTheFusedOne) {
    const demo::Image fused = Row({{50, 150}, {50, 150}, {50, 150}});
    const demo::Image upsampled = Row({{100, 200}, {0, 150}, {50, 75}});
    const demo::Image picture = demo::SideBySide(Row({{100, 50}}), upsampled, fused, {2, 1, 0});
    ASSERT_EQ(picture.columns, 14);
    EXPECT_THAT(picture.bands[0], ElementsAre(127, 0, 255, 255, 255, 255, 0, 63, 255, 255, 255, 255, 0, 255));
    EXPECT_THAT(picture.bands[2],
                ElementsAre(127, 0, 255, 255, 255, 255, 127, 255, 255, 255, 255, 255, 0, 255));
}

} // namespace
