#include "SceneFiles.h"

#include "rasterhost/assessing/Assess.h"
#include "support/StatusText.h"

#include <gmock/gmock.h>

using rasterhost::AssessReport;
using rasterhost::AssessRequest;
using testfiles::Folder;
using testing::HasSubstr;

namespace {

/// 100 per pan pixel across and 130 down, on any grid. A Gaussian leaves this ramp unchanged at the centre of
/// its kernel, so a kernel that is off by a hundredth of a pixel is noticed.
testfiles::Sample Ramp(double pixel, double left, double top) {
    return [=](int column, int row, int band) {
        const double x = left + (column + 0.5) * pixel, y = top + (row + 0.5) * pixel;
        return static_cast<unsigned>(1000.5 + 100.0 * x + 130.0 * y + 500.0 * band);
    };
}

struct Assessed {
    bool isDone;
    AssessReport report;
    std::string told;
};

Assessed Try(const AssessRequest& request) {
    Assessed run;
    KOVA::Tessara::Fundament::Status status;
    run.isDone = rasterhost::Assess(request, run.report, status);
    run.told = support::StatusText(status);
    return run;
}

} // namespace

TEST(Assess, DegradesOntoTheMultispectralGridWhereverItLies) {
    const struct {
        double ratio, right, below; ///< of the multispectral corner, in pan pixels
        std::uint64_t pixels;       ///< whose kernels lie on pan, 3.5 standard deviations of 0.494 pixels
    } cases[] = {{2.0, -1.5, -0.5, 27 * 19}, {3.7, 0.3, -2.0, 13 * 9}, {4.0, 0.0, 0.0, 11 * 8}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ratio);
        const Folder folder;
        const auto grid = testfiles::Grid(1.0, 100.0, 500.0);
        const auto coarse = testfiles::Grid(c.ratio, 100.0 + c.right, 500.0 - c.below);
        const auto pan = folder.Write("pan.tif", {60, 45, 1, GDT_UInt16, grid, {}}, Ramp(1.0, 0.0, 0.0));
        const auto fused = folder.Write("fused.tif", {60, 45, 3, GDT_UInt16, grid, {}}, Ramp(1.0, 0.0, 0.0));
        const auto ms =
            folder.Write("ms.tif", {40, 30, 3, GDT_UInt16, coarse, {}}, Ramp(c.ratio, c.right, c.below));
        AssessRequest request;
        request.fused = {{fused, {}}};
        request.pan = {pan, {}};
        request.multispectral = {{ms, {}}};
        const Assessed run = Try(request);
        ASSERT_TRUE(run.isDone) << run.told;
        EXPECT_DOUBLE_EQ(*run.report.ratio, c.ratio);
        ASSERT_EQ(run.report.pair.size(), 2u);
        for (const auto& row : run.report.pair) {
            EXPECT_EQ(row.consistency.pixels, c.pixels) << row.name;
            for (const auto& band : row.consistency.errors) {
                EXPECT_LT(band.rmse, 1.0) << row.name; // rounding, once in each image
                EXPECT_LT(std::abs(band.bias), 0.6) << row.name;
            }
            EXPECT_GT(row.hqnr, 0.97) << row.name;
        }
        EXPECT_GT(run.report.pair[0].qnr, 0.9);
    }
}

TEST(Assess, LeavesOutWhatHasNoData) {
    const Folder folder;
    const auto grid = testfiles::Grid(1.0, 100.0, 500.0);
    const auto value = [](int column, int row, int) {
        return static_cast<unsigned>(10 + column % 7 + row % 5);
    };
    const auto truth = folder.Write("truth.tif", {40, 40, 2, GDT_Byte, grid, {}}, value);
    // A block has the wrong value 200, except for the value for no data in it; elsewhere 1 is added.
    const auto fused =
        folder.Write("fused.tif", {40, 40, 2, GDT_Byte, grid, {}}, [&](int column, int row, int band) {
            return column < 9 && row < 9 ? 200u : value(column, row, band) + 1;
        });
    AssessRequest request;
    request.fused = {{fused, 2}, {fused, 1}};
    request.reference = {{truth, 2}, {truth, 1}};
    request.noData = 200.0;
    Assessed run = Try(request);
    ASSERT_TRUE(run.isDone) << run.told;
    EXPECT_EQ(run.report.reference->pixels, 40u * 40 - 81);
    EXPECT_DOUBLE_EQ(run.report.reference->errors[1].bias, 1.0);
    EXPECT_DOUBLE_EQ(run.report.reference->errors[1].rmse, 1.0);
    EXPECT_TRUE(std::isnan(run.report.reference->ergas)); // no ratio was given
    request.noData.reset();
    run = Try(request);
    EXPECT_EQ(run.report.reference->pixels, 40u * 40);
    EXPECT_GT(run.report.reference->errors[1].rmse, 30.0);
}

TEST(Assess, RefusesWhatDoesNotFit) {
    const Folder folder;
    const auto write = [&](const char* name, int columns, int bands, double left) {
        return folder.Write(name, {columns, 20, bands, GDT_Byte, testfiles::Grid(1.0, left), {}},
                            [](int, int, int) { return 7u; });
    };
    const auto good = write("good.tif", 20, 3, 0.0), wide = write("wide.tif", 21, 3, 0.0);
    const auto moved = write("moved.tif", 20, 3, 5.0), few = write("few.tif", 20, 2, 0.0);
    const auto pan = write("pan.tif", 20, 1, 0.0);
    AssessRequest pair;
    pair.fused = {{good, {}}};
    pair.pan = {pan, {}};
    pair.multispectral = {{good, {}}};
    AssessRequest blur = pair;
    blur.blur.multispectral = {0.3, 0.2};
    const auto against = [&](const std::string& file) {
        AssessRequest request;
        request.fused = {{good, {}}};
        request.reference = {{file, {}}};
        return request;
    };
    const struct {
        AssessRequest request;
        const char* words;
    } cases[] = {{against(wide), "20 x 20 pixels and the reference"},
                 {against(moved), "do not lie at the same place"},
                 {against(few), "has 3 bands and the reference"},
                 {against(folder / "none.tif"), "cannot be opened"},
                 {blur, "2 modulation transfers are given for 3 bands"}};
    for (const auto& c : cases) {
        const Assessed run = Try(c.request);
        EXPECT_FALSE(run.isDone);
        EXPECT_THAT(run.told, HasSubstr(c.words));
    }
}
