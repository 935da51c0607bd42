#include "rasterhost/CollarWatch.h"

#include "SceneFiles.h"

#include <gmock/gmock.h>

namespace {

using namespace testfiles;
using rasterhost::CollarWatch;

// An image of 10 x 10 pixels has an edge of 36.
TEST(CollarWatch, CountsEveryEdgePixelOnce) {
    KOVA::Tessara::Pixmere::RasterInfo info;
    info.cols = info.rows = 10;
    info.bandsPerPixel = 2;
    info.bitsPerBand = 16;
    std::vector<unsigned short> samples(200, 256); // low bytes are 0: no zero samples
    const auto set = [&](std::size_t column, std::size_t row, unsigned short first, unsigned short second) {
        samples[(row * 10 + column) * 2] = first;
        samples[(row * 10 + column) * 2 + 1] = second;
    };
    const auto watch = [&] {
        CollarWatch collar(info);
        for (const auto& [row0, row1] : {std::pair{0u, 4u}, {3u, 7u}, {5u, 10u}}) // windows overlap
            collar.See({reinterpret_cast<const unsigned char*>(samples.data() + row0 * 20),
                        40,
                        {0, row0, 10, row1}});
        return collar.GetShareOfZeros();
    };
    EXPECT_EQ(watch(), std::nullopt);
    set(4, 4, 0, 0); // inside
    set(0, 0, 0, 1); // one band has data
    EXPECT_EQ(watch(), std::nullopt);
    set(9, 3, 0, 0);
    EXPECT_EQ(watch(), std::nullopt); // 1 of 36 is too few
    set(5, 9, 0, 0);
    EXPECT_DOUBLE_EQ(watch().value(), 2.0 / 36.0);
}

TEST(CollarWatch, RunsWarnOfACollar) {
    const Folder folder;
    rasterhost::SharpenRequest request;
    request.pan.file =
        folder.Write("pan.tif", {80, 80, 1, GDT_Byte, Grid(10.0), {}}, [](int, int, int) { return 90u; });
    request.multispectral = {{folder.Write("ms.tif", {40, 40, 2, GDT_Byte, Grid(20.0), {}},
                                           [](int c, int r, int) { return c + r < 20 ? 0u : 60u; }),
                              {}}};
    request.output = folder / "fused.tif";
    request.weightSource = rasterhost::WeightSource::Equal;
    const Outcome outcome = RunSharpen(request);
    ASSERT_TRUE(outcome.isDone);
    ASSERT_EQ(outcome.report.warnings.size(), 1u);
    // 20 of the first row and 19 more of the first column, of 156.
    EXPECT_THAT(outcome.report.warnings[0],
                testing::AllOf(testing::HasSubstr("25 %"), testing::HasSubstr("ms.tif")));
}

} // namespace
