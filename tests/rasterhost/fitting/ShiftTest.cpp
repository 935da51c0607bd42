#include "rasterhost/fitting/Shift.h"
#include "KnownPair.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/scene/Scene.h"

#include <gtest/gtest.h>

namespace {

using namespace testfiles;
using namespace rasterhost;

// In twentieths of a multispectral pixel; positive means displaced to the right and down.
TEST(Shift, IsFoundToATwentieth) {
    const std::pair<int, int> cases[] = {{6, -9}, {-25, 21}, {0, 0}};
    for (const auto& [right, below] : cases) {
        SCOPED_TRACE(testing::Message() << right << " " << below);
        const Folder folder;
        const KnownPair pair{5, 20, {0.2, 0.5, 0.25, 0.0}, 64, right, below};
        Status status;
        const auto scene = OpenScene(
            pair.Write(folder), [](const std::string&) {}, status);
        ASSERT_TRUE(scene) << status.ToText();
        std::optional<Shift> shift;
        ASSERT_TRUE(MeasureShift(*scene, {}, shift, status)) << status.ToText();
        ASSERT_TRUE(shift);
        EXPECT_NEAR(shift->displacement.x, right / 20.0, 0.05);
        EXPECT_NEAR(shift->displacement.y, below / 20.0, 0.05);
        EXPECT_GT(shift->rSquared, 0.95);
        EXPECT_EQ(shift->windows, 9u);
        EXPECT_LT(shift->spread, 0.05);
        EXPECT_TRUE(shift->IsAgreed());
    }
}

// Undeclared zeros would give another shift, or none.
TEST(Shift, IsTakenBackWhereThereAreCollars) {
    const Folder folder;
    auto request = KnownPair{5, 20, {0.2, 0.5, 0.25, 0.0}, 64, 6, -9}.Write(folder);
    std::vector<std::uint16_t> zeros(256 * 100);
    ASSERT_EQ(GDALDatasetUniquePtr(GDALDataset::Open(request.pan.file.c_str(), GDAL_OF_UPDATE))
                  ->RasterIO(GF_Write, 0, 0, 256, 100, zeros.data(), 256, 100, GDT_UInt16, 1, nullptr, 0, 0,
                             0, nullptr),
              CE_None);
    request.measureShift = true;
    std::string said;
    std::unique_ptr<Scene> scene;
    Status status;
    const Warn warn = [&](const std::string& text) { said += text; };
    ASSERT_EQ(PrepareScene(request, warn, {}, scene, status), Preparation::Done) << status.ToText();
    EXPECT_NE(said.find("displaced by (0.30, -0.45)"), std::string::npos) << said;
}

// Beyond the search range, or of another scene: no shift is reported.
TEST(Shift, IsNotMadeUp) {
    const Folder folder;
    Status status;
    const Warn ignore = [](const std::string&) {};
    auto request = KnownPair{5, 20, {0.2, 0.5, 0.25, 0.0}, 48, 60, 0}.Write(folder);
    std::optional<Shift> shift;
    auto scene = OpenScene(request, ignore, status);
    ASSERT_TRUE(scene && MeasureShift(*scene, {}, shift, status)) << status.ToText();
    EXPECT_FALSE(shift) << shift->displacement.x << " " << shift->displacement.y;
    request.pan.file =
        folder.Write("other.tif", {192, 192, 1, GDT_UInt16, Grid(5), {}}, [](int c, int r, int) {
            return static_cast<unsigned>(20000.0 + 9000.0 * Noise(unsigned(c / 4), unsigned(r / 4), 9));
        });
    scene = OpenScene(request, ignore, status);
    ASSERT_TRUE(scene && MeasureShift(*scene, {}, shift, status)) << status.ToText();
    EXPECT_FALSE(shift);
}

} // namespace
