#include "rasterhost/fitting/SceneDetail.h"

#include "SceneFiles.h"
#include "hostkit/PanLowPass.h"
#include "hostkit/RequestRecord.h"
#include "hostkit/SampledRaster.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace testfiles;
using rasterhost::SharpenRequest;
using testing::HasSubstr;
using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

RasterInfo Describe(std::uint32_t columns, std::uint32_t rows, std::uint32_t bands, double size, double left,
                    double top) {
    RasterInfo info;
    info.cols = columns;
    info.rows = rows;
    info.bandsPerPixel = bands;
    info.bitsPerBand = 16;
    info.pixelSizeX = info.pixelSizeY = size;
    info.xMin = left;
    info.yMax = top;
    return info;
}

/// Pan, and a multispectral image that ends within it on the right and below, displaced by half a pixel.
class Detail : public testing::Test {
protected:
    const RasterInfo panInfo = Describe(157, 211, 1, 15.0, 500000.0, 4000000.0);
    const RasterInfo msInfo = Describe(60, 100, 3, 30.0, 499982.5, 4000022.5);

    Detail() {
        unsigned state = 1;
        const auto random = [&] {
            return static_cast<unsigned short>((state = state * 1664525u + 1013904223u) >> 20);
        };
        for (int i = 0; i < 157 * 211; ++i)
            pan.push_back(random());
        for (int i = 0; i < 60 * 100 * 3; ++i)
            ms.push_back(random());
        request.pan.file =
            folder.Write("pan.tif", {157, 211, 1, GDT_UInt16, Grid(15.0), "EPSG:32630"},
                         [&](int c, int r, int) { return pan[static_cast<std::size_t>(r * 157 + c)]; });
        request.multispectral = {
            {folder.Write(
                 "ms.tif", {60, 100, 3, GDT_UInt16, Grid(30.0, 499982.5, 4000022.5), "EPSG:32630"},
                 [&](int c, int r, int b) { return ms[static_cast<std::size_t>((r * 60 + c) * 3 + b)]; }),
             {}}};
        request.output = folder / "fused.tif";
        request.overwrite = true;
        request.method = "injection";
        request.resampling = hostkit::Resampling::Cubic;
        request.bands = {3, 1};
        request.transfer = 0.4;
        request.gains = {{0.25, 0.5}, {1.0, 1.0}, {1.5, 0.0}};
    }

    /// Samples of an image on all of pan.
    [[nodiscard]] std::vector<unsigned short> Sample(const RasterInfo& info,
                                                     const std::vector<unsigned short>& samples) const {
        const auto* bytes = reinterpret_cast<const unsigned char*>(samples.data());
        const hostkit::AxisPlacement placement(panInfo, info);
        hostkit::SampledRaster raster;
        EXPECT_TRUE(raster.Open(placement, hostkit::WholeImage(panInfo), info,
                                {bytes, info.cols * hostkit::PixelBytes(info), hostkit::WholeImage(info)},
                                hostkit::Resampling::Cubic));
        std::vector<unsigned short> sampled;
        for (std::uint32_t row = 0; row < panInfo.rows; ++row) {
            const auto* first = reinterpret_cast<const unsigned short*>(raster.GetRow(row));
            sampled.insert(sampled.end(), first, first + std::size_t{panInfo.cols} * info.bandsPerPixel);
        }
        return sampled;
    }
    [[nodiscard]] std::vector<unsigned> Fuse(double floor) const {
        const hostkit::PanLowPass low(panInfo, msInfo, *request.transfer);
        const RasterInfo& info = low.GetInfo();
        std::vector<unsigned short> samples(std::size_t{info.cols} * info.rows);
        std::vector<unsigned char> valid(samples.size());
        const auto* bytes = reinterpret_cast<const unsigned char*>(pan.data());
        EXPECT_FALSE(low.Compute({bytes, 157 * 2, hostkit::WholeImage(panInfo)}, hostkit::WholeImage(info),
                                 reinterpret_cast<unsigned char*>(samples.data()), valid.data()));
        const auto smooth = Sample(info, samples), bands = Sample(msInfo, ms);
        std::vector<unsigned> fused;
        for (std::size_t pixel = 0; pixel < pan.size(); ++pixel)
            for (const std::size_t band : {2u, 0u}) {
                const double own = bands[pixel * 3 + band];
                const double q = own * (1.0 / std::max<double>(smooth[pixel], floor));
                const auto& [a, b] = request.gains[band];
                const double g = std::min(b == 0.0 ? a : a + b * q, 2.0 * q);
                const double value = own + g * (pan[pixel] - static_cast<double>(smooth[pixel]));
                // Pan counts up to one pixel beyond the bands; further out there is no data.
                const std::size_t row = pixel / 157;
                const double x = (static_cast<double>(pixel % 157) + 0.5) / 2.0 + 17.5 / 30.0;
                const double y = (static_cast<double>(row) + 0.5) / 2.0 + 0.75;
                const bool isCovered = x <= 61.0 && y <= 101.0;
                fused.push_back(isCovered ? static_cast<unsigned>(std::clamp(value, 0.0, 65535.0) + 0.5)
                                          : 0u);
            }
        return fused;
    }

    const Folder folder;
    std::vector<unsigned short> pan, ms;
    SharpenRequest request;
};

// For any windows: the low-pass continues where the bands end, and each band has its own gains.
TEST_F(Detail, IsThatOfPanOverItsLowPass) {
    std::vector<unsigned> expected;
    for (const std::uint32_t windowRows : {0u, 1u, 7u, 211u}) {
        request.windowRows = windowRows;
        const Outcome outcome = RunSharpen(request);
        ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
        EXPECT_EQ(outcome.report.detail->gains, request.gains);
        if (expected.empty()) expected = Fuse(outcome.report.detail->lowPassMean / 4.0);
        EXPECT_EQ(ReadAll(request.output), expected);
    }
    request.windowRows = 0;
    request.part = {500150.0, 3999850.0, 501350.0, 3998650.0};
    ASSERT_TRUE(RunSharpen(request).isDone);
    const auto part = ReadAll(request.output);
    for (std::size_t i = 0; i < part.size(); ++i)
        ASSERT_EQ(part[i], expected[((i / 160 + 10) * 157 + 10) * 2 + i % 160]);
}

// A gap in pan affects only itself and nothing around it, for any windows.
TEST_F(Detail, LacksWhatPanAndBandsLack) {
    request.noData = 0;
    request.method = "kova";
    request.gains.clear();
    request.transfer.reset();
    const Outcome weighed = RunSharpen(request);
    ASSERT_TRUE(weighed.isDone) << weighed.status.ToText();
    request.method = "injection";
    std::vector<unsigned> whole;
    for (const std::uint32_t windowRows : {0u, 1u, 13u}) {
        request.windowRows = windowRows;
        const Outcome outcome = RunSharpen(request);
        ASSERT_TRUE(outcome.isDone) << outcome.status.ToText();
        EXPECT_EQ(outcome.report.pixelsWithoutData, weighed.report.pixelsWithoutData);
        if (whole.empty()) whole = ReadAll(request.output);
        EXPECT_EQ(ReadAll(request.output), whole);
    }
}

TEST_F(Detail, SaysWhatSpeaksAgainstIt) {
    struct Case {
        std::function<void(SharpenRequest&)> change;
        const char* words; ///< of a refusal, or of a warning
        bool isDone = false;
    };
    const auto flat = folder.Write("flat.tif", {157, 211, 1, GDT_UInt16, Grid(15.0), "EPSG:32630"},
                                   [](int, int, int) { return 700u; });
    const Case cases[] = {
        {[](auto& r) { r.transfer = 1.0; }, "the modulation transfer 1 is out of range"},
        {[](auto& r) { r.gains.pop_back(); }, "2 pairs of gains are given for 3 multispectral bands"},
        {[](auto& r) { r.gains[1].ratioGain = -0.5; }, "the gains of band 2 are 1 and -0.5"},
        {[](auto& r) { r.method = "kova"; }, "has neither a modulation transfer nor gains"},
        {[](auto& r) {
             r.weights = {1, 1, 1};
         },
         "leave weights and infrared band out"},
        {[](auto& r) { r.transfer.reset(); }, "the blur of the bands cannot be measured: no weights", true},
        {[&](auto& r) { r.gains.clear(), r.pan.file = flat; }, "no band follows pan's detail", true},
        {[](auto& r) { r.gains.assign(3, {}); }, "all gains are 0", true},
    };
    for (const Case& c : cases) {
        SharpenRequest changed = request;
        c.change(changed);
        const Outcome outcome = RunSharpen(changed);
        EXPECT_EQ(outcome.isDone, c.isDone) << c.words;
        const auto& warnings = outcome.report.warnings;
        EXPECT_THAT(c.isDone && !warnings.empty() ? warnings.back() : outcome.status.ToText(),
                    HasSubstr(c.words));
    }
}

} // namespace
