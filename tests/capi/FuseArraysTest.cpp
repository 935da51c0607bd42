#include "Scene.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

namespace {

using namespace testcapi;
using enum Shape;
using testing::HasSubstr;

TEST(FuseArrays, EqualsTheDefinition) {
    struct Case {
        std::uint32_t bits;
        Scene::Size pan, ms;
        std::uint32_t bands;
        Shape inputs, outputs;
        std::vector<double> weights = {}; // the infrared one last
        std::vector<std::uint32_t> written = {};
        std::uint32_t threads = 0;
        const char* method = "KOVA";
        Scene::Size infrared = {};
    };
    const Case cases[] = {
        {8, {40, 70}, {10, 35}, 3, Packed, Packed, {}, {}, 1},
        {16, {40, 70}, {10, 35}, 4, Packed, Packed, {0.1, 0.2, 0.3, 0.4}, {}, 3},
        {8, {33, 65}, {11, 13}, 4, Planar, Lines, {0.5, -0.25, 0.25, 0.5}, {4, 1}, 4},
        {16, {33, 65}, {11, 13}, 2, Gaps, Gaps, {}, {2, 1, 2}, 2},
        {16, {25, 47}, {10, 20}, 1, Mirrored, Planar, {1.25}, {}, 2},
        {8, {25, 47}, {25, 47}, 3, Lines, Mirrored}, // on the grid of pan
        {8, {1, 1}, {1, 1}, 1, Gaps, Gaps, {}, {}, 8},
        // Brovey scales the given weights, in the second case by 3; the result must use those that the caller
        // gave.
        {16, {24, 40}, {12, 10}, 5, Lines, Packed, {}, {1, 5}, 0, "Brovey"},
        {16, {24, 40}, {12, 10}, 5, Lines, Packed, {0.375, 0.28125, 0.1875, 0, 0.1875}, {}, 0, "Brovey"},
        {16, {24, 40}, {12, 10}, 5, Lines, Packed, {0.1, 0.2, 0.3, 0.2, 0.2}, {1, 5}, 0, "Brovey"},
        // The infrared band takes part in the sum.
        {8, {24, 40}, {12, 10}, 3, Planar, Packed, {}, {}, 0, "KOVA", {8, 10}},
        {8, {24, 40}, {12, 10}, 3, Planar, Packed, {0.3, 0.3, 0.3, 0.1}, {}, 0, "KOVA", {8, 10}},
        {8, {24, 40}, {12, 10}, 3, Planar, Packed, {0.4, 0.3, 0.2, 0.1}, {}, 0, "Brovey", {8, 10}},
    };
    const Library library = Open();
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        Scene scene(c.bits, c.pan, c.ms, c.bands, c.inputs, c.outputs, c.written);
        scene.job.threads = c.threads;
        scene.job.method = c.method;
        if (c.infrared.rows) scene.AddInfrared(Gaps, c.infrared);
        scene.SetWeights(c.weights);
        std::strcpy(scene.error, "old");
        ASSERT_EQ(scene.Fuse(library.get()), PANSHARP_OK) << scene.error;
        EXPECT_STREQ(scene.error, "");
        EXPECT_EQ(scene.out.Samples(), scene.Expected(c.weights, c.method));
        EXPECT_TRUE(scene.out.GapsAreUntouched());
        EXPECT_TRUE(scene.ms.GapsAreUntouched());
    }
}

// A part of a scene with some of the coarse image around it, as callers have who work in tiles.
TEST(FuseArrays, PlacesTheCoarseImage) {
    const struct {
        double pixelSize, offsetX, offsetY;
    } cases[] = {
        {4, 2, 1.5}, {2.5, 0.25, -0.9}, {3, 0.75, 0}}; // the second beyond the edge by less than a pixel
    const Library library = Open();
    for (const auto& c : cases) {
        Scene scene(16, {20, 36}, {13, 15}, 3, Planar, Packed);
        scene.place = {kernels::MakeGridAxis(1 / c.pixelSize, c.offsetX),
                       kernels::MakeGridAxis(1 / c.pixelSize, c.offsetY)};
        scene.job.multispectral.pixel_width = scene.job.multispectral.pixel_height = c.pixelSize;
        scene.job.multispectral.offset_x = c.offsetX;
        scene.job.multispectral.offset_y = c.offsetY;
        ASSERT_EQ(scene.Fuse(library.get()), PANSHARP_OK) << scene.error;
        EXPECT_EQ(scene.out.Samples(), scene.Expected()) << c.pixelSize;
    }
}

// Its first pixel lies at a third of a coarse pixel, which a double cannot represent exactly.
TEST(FuseArrays, TileGetsThePixelsOfTheWhole) {
    constexpr std::uint32_t column = 13, row = 22, columns = 20, rows = 17;
    const Library library = Open();
    Scene whole(16, {60, 90}, {20, 30}, 3, Planar, Packed);
    StridedImage tile(Packed, 16, columns, rows, 3);
    pansharp_job job = whole.job;
    const auto at = [](const pansharp_image& image, std::uint32_t c, std::uint32_t r) {
        return static_cast<const unsigned char*>(image.samples) + c * image.pixel_stride +
               r * image.row_stride;
    };
    job.pan.samples = at(job.pan, column, row);
    job.pan.columns = columns;
    job.pan.rows = rows;
    job.multispectral.samples = at(job.multispectral, 2, 5);
    job.multispectral.columns = 11;
    job.multispectral.rows = 10;
    job.multispectral.pixel_width = job.multispectral.pixel_height = 3;
    job.multispectral.offset_x = column / 3.0 - 2;
    job.multispectral.offset_y = row / 3.0 - 5;
    job.output = tile.Output();
    ASSERT_EQ(whole.Fuse(library.get()), PANSHARP_OK) << whole.error;
    ASSERT_EQ(pansharp_fuse(library.get(), &job, whole.error, sizeof whole.error), PANSHARP_OK)
        << whole.error;
    for (std::uint32_t r = 0; r < rows; ++r)
        for (std::uint32_t c = 0; c < columns; ++c)
            for (std::uint32_t b = 0; b < 3; ++b)
                ASSERT_EQ(tile.Get(c, r, b), whole.out.Get(column + c, row + r, b)) << c << ' ' << r;
}

TEST(FuseArrays, ServesSeveralThreadsAtOnce) {
    const Library library = Open();
    std::vector<int> right(4, 0);
    std::vector<std::thread> callers;
    for (std::uint32_t i = 0; i < right.size(); ++i)
        callers.emplace_back([&, i] {
            const std::uint32_t bits = i % 2 == 0 ? 8 : 16;
            Scene scene(bits, {30 + i, 150}, {10, 50}, 1 + i, Planar, Packed);
            scene.job.threads = 1 + i % 3;
            // Strides of packed samples may be 0.
            scene.job.pan.row_stride = scene.job.pan.pixel_stride = scene.job.pan.band_stride = 0;
            scene.job.output.row_stride = scene.job.output.pixel_stride = scene.job.output.band_stride = 0;
            const auto expected = scene.Expected();
            for (int run = 0; run < 5; ++run)
                right[i] += scene.Fuse(library.get()) == PANSHARP_OK && scene.out.Samples() == expected;
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(right, (std::vector<int>{5, 5, 5, 5}));
}

// Upsampling is judged for comparison anyway, so an image that is just that must get the same numbers.
TEST(FuseArrays, JudgesAnImageByItsPair) {
    const Library library = Open();
    Scene scene(16, {90, 700}, {30, 350}, 3, Gaps, Planar);
    scene.job.resampling = PANSHARP_BILINEAR;
    ASSERT_EQ(pansharp_upsample(library.get(), &scene.job, scene.error, sizeof scene.error), PANSHARP_OK)
        << scene.error;
    for (const std::uint32_t threads : {1u, 3u}) {
        pansharp_pair_assessment found{};
        pansharp_band_quality fused[3], upsampled[3];
        found.struct_size = sizeof found;
        found.image = scene.out.Image();
        found.fused.bands = fused;
        found.upsampled.bands = upsampled;
        scene.job.threads = threads;
        ASSERT_EQ(pansharp_assess_pair(library.get(), &scene.job, &found, scene.error, sizeof scene.error),
                  PANSHARP_OK)
            << scene.error;
        EXPECT_EQ(std::memcmp(fused, upsampled, sizeof fused), 0);
        found.upsampled.bands = fused;
        EXPECT_EQ(std::memcmp(&found.fused, &found.upsampled, sizeof found.fused), 0);
        EXPECT_GT(found.fused.d_s, 0.0);
        found.image.rows = 699;
        EXPECT_EQ(pansharp_assess_pair(library.get(), &scene.job, &found, nullptr, 0), PANSHARP_BAD_ARGUMENT);
    }
    pansharp_reduction reduction{};
    reduction.struct_size = sizeof reduction;
    ASSERT_EQ(pansharp_reduce(library.get(), &scene.job, &reduction, nullptr, 0), PANSHARP_OK);
    EXPECT_EQ(reduction.columns * 1000 + reduction.coarse_rows, 30175u); // 350 rows at a ratio of 2
    reduction.pan = &reduction;                                          // the others are missing
    EXPECT_EQ(pansharp_reduce(library.get(), &scene.job, &reduction, nullptr, 0), PANSHARP_BAD_ARGUMENT);
    pansharp_shift shift{}; // noise shows none
    shift.struct_size = sizeof shift;
    ASSERT_EQ(pansharp_measure_shift(library.get(), &scene.job, &shift, nullptr, 0), PANSHARP_OK);
    EXPECT_EQ(shift.is_found, 0u);
    EXPECT_EQ(pansharp_measure_shift(library.get(), &scene.job, nullptr, nullptr, 0), PANSHARP_BAD_ARGUMENT);
}

struct Progress {
    std::vector<std::uint32_t> rows;
    std::vector<std::thread::id> threads;
    std::uint32_t total = 0;
    std::uint32_t cancelAt = ~0u;

    static int Note(std::uint32_t done, std::uint32_t rows, void* data) {
        auto& self = *static_cast<Progress*>(data);
        self.rows.push_back(done);
        self.threads.push_back(std::this_thread::get_id());
        self.total = rows;
        return done >= self.cancelAt;
    }
};

TEST(FuseArrays, IsCancelledByTheCallback) {
    const Library library = Open();
    for (const std::uint32_t threads : {1u, 4u}) {
        Scene scene(8, {50, 2000}, {25, 1000}, 3, Packed, Packed);
        Progress progress;
        progress.cancelAt = 1;
        scene.job.threads = threads;
        scene.job.progress = &Progress::Note;
        scene.job.progress_data = &progress;
        const pansharp_result result = scene.Fuse(library.get());
        ASSERT_EQ(progress.rows.size(), 1u);           // not called again
        if (threads == 1 || progress.rows[0] < 2000) { // else the other threads had finished before the call
            EXPECT_EQ(result, PANSHARP_CANCELLED);
            EXPECT_THAT(scene.error, HasSubstr("of 2000 rows"));
        }
        if (threads == 1) {
            EXPECT_EQ(scene.out.Get(49, 1999, 0), 0xA5u) << "the rest was not left alone";
        }

        progress = {};
        progress.cancelAt = 2000; // with the last row: there is nothing left to cancel
        EXPECT_EQ(scene.Fuse(library.get()), PANSHARP_OK);
        EXPECT_EQ(scene.out.Samples(), scene.Expected());
        ASSERT_FALSE(progress.rows.empty());
        EXPECT_TRUE(std::is_sorted(progress.rows.begin(), progress.rows.end(), std::less_equal<>()));
        EXPECT_EQ(progress.rows.back(), 2000u);
        EXPECT_EQ(progress.total, 2000u);
        EXPECT_THAT(progress.threads, testing::Each(std::this_thread::get_id()));
    }
}

TEST(FuseArrays, ExceptionOfTheCallbackStaysInside) {
    const Library library = Open();
    Scene scene(8, {50, 2000}, {25, 1000}, 3, Packed, Packed);
    scene.job.threads = 3;
    scene.job.progress = [](std::uint32_t, std::uint32_t, void*) -> int {
        throw std::runtime_error("the window was closed");
    };
    EXPECT_EQ(scene.Fuse(library.get()), PANSHARP_FAILED);
    EXPECT_STREQ(scene.error, "the window was closed");
}

} // namespace
