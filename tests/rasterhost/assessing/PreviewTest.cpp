#include "SceneFiles.h"

#include "rasterhost/assessing/Preview.h"
#include "support/StatusText.h"

#include <gmock/gmock.h>

using testfiles::Folder;

TEST(Preview, ShowsPanUpsampledAndFusedSideBySide) {
    const Folder folder;
    // One bright pan pixel, at column 590 and row 40, on a uniform background.
    const auto pan =
        folder.Write("pan.tif", {600, 550, 1, GDT_Byte, testfiles::Grid(1.0, 0.0, 0.0), {}},
                     [](int column, int row, int) { return column == 590 && row == 40 ? 200u : 50u; });
    const auto ms = folder.Write("ms.tif", {300, 275, 3, GDT_Byte, testfiles::Grid(2.0, 0.0, 0.0), {}},
                                 [](int, int, int) { return 50u; });
    rasterhost::SharpenRequest request = testfiles::MakeRequest();
    request.pan = {pan, {}};
    request.multispectral = {{ms, {}}};
    request.output = folder / "out.tif";
    request.part = {40.0, -20.0, 600.0, -550.0};
    request.weightSource = rasterhost::WeightSource::Equal;
    const testfiles::Outcome run = testfiles::RunWell(request);

    KOVA::Tessara::Fundament::Status status;
    const rasterhost::PreviewRequest preview{folder / "look.png", {{590.0, -40.0}}};
    ASSERT_TRUE(rasterhost::CheckPreview(request, preview, status)) << support::StatusText(status);
    ASSERT_TRUE(rasterhost::WritePreview(request, *run.pair.scene, preview, status))
        << support::StatusText(status);
    const auto picture = testfiles::ReadAll(preview.file);
    constexpr std::size_t width = 3 * 512 + 2 * 4;
    ASSERT_EQ(picture.size(), width * 512 * 3);
    // The window ends at the edges: columns 88 to 599, rows 20 to 531.
    std::vector<std::size_t> bright;
    for (std::size_t i = 0; i < picture.size(); i += 3)
        if (picture[i] == 255 && picture[i + 1] == 255 && picture[i + 2] == 255) bright.push_back(i / 3);
    std::vector<std::size_t> expected;
    for (std::size_t row = 0; row < 512; ++row)
        for (std::size_t column = 0; column < width; ++column) {
            const std::size_t panel = column / 516, within = column % 516;
            if (within >= 512 || (row == 20 && within == 502 && panel != 1))
                expected.push_back(row * width + column);
        }
    EXPECT_EQ(bright, expected);

    EXPECT_FALSE(rasterhost::CheckPreview(request, preview, status)); // it exists
    EXPECT_THAT(support::StatusText(status), testing::HasSubstr("--overwrite"));
    EXPECT_FALSE(rasterhost::CheckPreview(request, {folder / "other.png", {{30.0, -40.0}}}, status));
    EXPECT_THAT(support::StatusText(status), testing::HasSubstr("x 40 to 600, y -550 to -20"));
}

// Bands of different brightness still give a grey picture.
TEST(Preview, StretchesEveryColourByItself) {
    const Folder folder;
    const auto ground = [](int column, int row, int band) {
        return static_cast<unsigned>(20 + 60 * band + (column * 7 + row * 3) % 40);
    };
    rasterhost::SharpenRequest request = testfiles::MakeRequest();
    request.pan = {folder.Write("pan.tif", {64, 64, 1, GDT_Byte, testfiles::Grid(1.0), {}}, ground), {}};
    request.multispectral = {
        {folder.Write("ms.tif", {64, 64, 3, GDT_Byte, testfiles::Grid(1.0), {}}, ground), {}}};
    request.output = folder / "out.tif";
    request.weights = {1.0, 0.0, 0.0};
    const testfiles::Outcome run = testfiles::RunWell(request);
    KOVA::Tessara::Fundament::Status status;
    ASSERT_TRUE(rasterhost::WritePreview(request, *run.pair.scene, {folder / "look.png", {}}, status));
    const auto picture = testfiles::ReadAll(folder / "look.png");
    for (std::size_t i = 0; i < picture.size(); i += 3)
        ASSERT_TRUE(picture[i] == picture[i + 1] && picture[i] == picture[i + 2]) << i;
}
