#include "StridedImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

namespace {

using namespace testcapi;
using testing::HasSubstr;

using Library = std::unique_ptr<pansharp, decltype(&pansharp_close)>;

Library Open() {
    char error[2000];
    Library library(pansharp_open(PANSHARP_PLUGIN_FILE, error, sizeof error), &pansharp_close);
    EXPECT_NE(library, nullptr) << error;
    return library;
}

/// Images with a job that fuses them.
struct Scene {
    struct Size {
        std::uint32_t columns, rows;
    };
    Scene(std::uint32_t bits, Size panSize, Size msSize, std::uint32_t bands, Shape inputs, Shape outputs,
          std::vector<std::uint32_t> writtenBands = {})
        : place{msSize.columns, panSize.columns, msSize.rows, panSize.rows}, written(std::move(writtenBands)),
          pan(inputs, bits, panSize.columns, panSize.rows, 1),
          ms(inputs, bits, msSize.columns, msSize.rows, bands),
          out(outputs, bits, panSize.columns, panSize.rows,
              written.empty() ? bands : static_cast<std::uint32_t>(written.size())) {
        pan.Fill(bits + 1);
        ms.Fill(bits + 2);
        pansharp_job_init(&job, sizeof job);
        job.bits_per_sample = bits;
        job.pan = pan.Image();
        job.multispectral = ms.Image();
        job.output = out.Output();
        if (!written.empty()) {
            job.output_bands = written.data();
            job.output_band_count = static_cast<std::uint32_t>(written.size());
        }
    }

    /// Every band moved by what pan differs from the weighted sum of all bands, or multiplied by their ratio.
    [[nodiscard]] std::vector<unsigned> Expected(std::vector<double> weights, bool ratio = false) const {
        const std::uint32_t bands = ms.bands + (infrared ? 1 : 0);
        if (weights.empty()) weights.assign(bands, 1.0 / bands);
        std::vector<unsigned> expected;
        std::vector<double> values(bands);
        for (std::uint32_t r = 0; r < pan.rows; ++r)
            for (std::uint32_t c = 0; c < pan.columns; ++c) {
                double sum = 0;
                for (std::uint32_t b = 0; b < bands; ++b) {
                    values[b] = b < ms.bands ? Interpolate(ms, place, c, r, b)
                                             : Interpolate(*infrared, infraredPlace, c, r, 0);
                    sum += values[b] * weights[b];
                }
                const double sharp = pan.Get(c, r, 0);
                for (std::uint32_t i = 0; i < out.bands; ++i) {
                    const double value = values[written.empty() ? i : written[i] - 1];
                    expected.push_back(ratio ? Stored(sum != 0 ? value * (sharp / sum) : 0)
                                             : Stored(value + (sharp - sum) + 0.5));
                }
            }
        return expected;
    }
    [[nodiscard]] unsigned Stored(double value) const {
        const double largest = ms.sampleBytes == 1 ? 255 : 65535;
        return static_cast<unsigned>(value < 0 ? 0 : value > largest ? largest : value);
    }

    void AddInfrared(Shape shape, Size size) {
        infrared.emplace(shape, ms.sampleBytes * 8, size.columns, size.rows, 1);
        infrared->Fill(77);
        infraredPlace = {size.columns, pan.columns, size.rows, pan.rows};
        job.infrared = infrared->Image();
    }

    Placement place;
    std::vector<std::uint32_t> written;
    StridedImage pan, ms, out;
    std::optional<StridedImage> infrared;
    Placement infraredPlace{};
    pansharp_job job;
};

TEST(FuseArrays, EqualsTheDefinition) {
    const struct {
        std::uint32_t bits;
        Scene::Size pan, ms;
        std::uint32_t bands;
        Shape inputs, outputs;
        std::vector<double> weights;
        std::vector<std::uint32_t> written;
        std::uint32_t threads;
    } cases[] = {
        {8, {40, 70}, {10, 35}, 3, Shape::Packed, Shape::Packed, {}, {}, 1},
        {16, {40, 70}, {10, 35}, 4, Shape::Packed, Shape::Packed, {0.1, 0.2, 0.3, 0.4}, {}, 3},
        {8, {33, 65}, {11, 13}, 4, Shape::Planar, Shape::Lines, {0.5, -0.25, 0.25, 0.5}, {4, 1}, 4},
        {16, {33, 65}, {11, 13}, 2, Shape::Gaps, Shape::Gaps, {}, {2, 1, 2}, 2},
        {16, {25, 47}, {10, 20}, 1, Shape::Mirrored, Shape::Planar, {1.25}, {}, 2},
        {8, {25, 47}, {25, 47}, 3, Shape::Lines, Shape::Mirrored, {}, {}, 0}, // on the grid of pan
        {8, {1, 1}, {1, 1}, 1, Shape::Gaps, Shape::Gaps, {}, {}, 8},
    };
    const Library library = Open();
    for (const auto& c : cases) {
        Scene scene(c.bits, c.pan, c.ms, c.bands, c.inputs, c.outputs, c.written);
        scene.job.threads = c.threads;
        if (!c.weights.empty()) {
            scene.job.weights = c.weights.data();
            scene.job.weight_count = static_cast<std::uint32_t>(c.weights.size());
        }
        SCOPED_TRACE(&c - cases);
        char error[2000] = "old";
        ASSERT_EQ(pansharp_fuse(library.get(), &scene.job, error, sizeof error), PANSHARP_OK) << error;
        EXPECT_STREQ(error, "");
        EXPECT_EQ(scene.out.Samples(), scene.Expected(c.weights));
        EXPECT_TRUE(scene.out.GapsAreUntouched());
        EXPECT_TRUE(scene.ms.GapsAreUntouched());
    }
}

// A part of a scene with some of the coarse image around it, as a caller has who works in tiles.
TEST(FuseArrays, PlacesTheCoarseImage) {
    const struct {
        double pixelSize, offsetX, offsetY;
        Placement place;
    } cases[] = {
        {4, 2, 1.5, {1, 4, 1, 4, 40, 30}},
        {2.5, 0.25, -0.9, {2, 5, 2, 5, 5, -18}}, // beyond the edge by less than a pixel
        {3, 0.75, 0, {1, 3, 1, 3, 15, 0}},
    };
    const Library library = Open();
    for (const auto& c : cases) {
        Scene scene(16, {20, 36}, {13, 15}, 3, Shape::Planar, Shape::Packed);
        scene.place = c.place;
        scene.job.multispectral.pixel_width = scene.job.multispectral.pixel_height = c.pixelSize;
        scene.job.multispectral.offset_x = c.offsetX;
        scene.job.multispectral.offset_y = c.offsetY;
        scene.job.method = "kova";
        char error[2000];
        ASSERT_EQ(pansharp_fuse(library.get(), &scene.job, error, sizeof error), PANSHARP_OK) << error;
        EXPECT_EQ(scene.out.Samples(), scene.Expected({})) << c.pixelSize;
    }
}

// Brovey scales the weights it is given, by 3 here; what counts is what a caller asked for.
TEST(FuseArrays, WeightsMeanTheSameToBrovey) {
    const Library library = Open();
    for (const std::vector<double>& weights :
         {std::vector<double>{}, {0.375, 0.28125, 0.1875, 0, 0.1875}, {0.1, 0.2, 0.3, 0.2, 0.2}}) {
        Scene scene(16, {24, 40}, {12, 10}, 5, Shape::Lines, Shape::Packed, {1, 5});
        scene.job.method = "brovey";
        scene.job.weights = weights.empty() ? nullptr : weights.data();
        scene.job.weight_count = static_cast<std::uint32_t>(weights.size());
        char error[2000];
        ASSERT_EQ(pansharp_fuse(library.get(), &scene.job, error, sizeof error), PANSHARP_OK) << error;
        EXPECT_EQ(scene.out.Samples(), scene.Expected(weights, true));
    }
}

TEST(FuseArrays, InfraredTakesPartInTheSum) {
    const struct {
        const char* method;
        std::vector<double> weights; // the infrared one last
    } cases[] = {{"KOVA", {}}, {"KOVA", {0.3, 0.3, 0.3, 0.1}}, {"Brovey", {0.4, 0.3, 0.2, 0.1}}};
    const Library library = Open();
    for (const auto& c : cases) {
        Scene scene(8, {24, 40}, {12, 10}, 3, Shape::Planar, Shape::Packed);
        scene.AddInfrared(Shape::Gaps, {8, 10});
        scene.job.method = c.method;
        if (!c.weights.empty()) {
            scene.job.weights = c.weights.data();
            scene.job.weight_count = 3;
            scene.job.infrared_weight = &c.weights[3];
        }
        char error[2000];
        ASSERT_EQ(pansharp_fuse(library.get(), &scene.job, error, sizeof error), PANSHARP_OK) << error;
        EXPECT_EQ(scene.out.Samples(), scene.Expected(c.weights, std::string(c.method) == "Brovey"));
    }
}

// Its first pixel lies at a third of a coarse pixel, which no double is.
TEST(FuseArrays, TileGetsThePixelsOfTheWhole) {
    constexpr std::uint32_t column = 13, row = 22, columns = 20, rows = 17;
    const Library library = Open();
    Scene whole(16, {60, 90}, {20, 30}, 3, Shape::Planar, Shape::Packed);
    StridedImage tile(Shape::Packed, 16, columns, rows, 3);
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
    char error[2000];
    ASSERT_EQ(pansharp_fuse(library.get(), &whole.job, error, sizeof error), PANSHARP_OK) << error;
    ASSERT_EQ(pansharp_fuse(library.get(), &job, error, sizeof error), PANSHARP_OK) << error;
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
            Scene scene(bits, {30 + i, 150}, {10, 50}, 1 + i, Shape::Planar, Shape::Packed);
            scene.job.threads = 1 + i % 3;
            // Strides of packed samples may be left out.
            scene.job.pan.row_stride = scene.job.pan.pixel_stride = scene.job.pan.band_stride = 0;
            scene.job.output.row_stride = scene.job.output.pixel_stride = scene.job.output.band_stride = 0;
            const auto expected = scene.Expected({});
            for (int run = 0; run < 5; ++run)
                if (pansharp_fuse(library.get(), &scene.job, nullptr, 0) == PANSHARP_OK &&
                    scene.out.Samples() == expected)
                    ++right[i];
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(right, (std::vector<int>{5, 5, 5, 5}));
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
        Scene scene(8, {50, 2000}, {25, 1000}, 3, Shape::Packed, Shape::Packed);
        Progress progress;
        progress.cancelAt = 1;
        scene.job.threads = threads;
        scene.job.progress = &Progress::Note;
        scene.job.progress_data = &progress;
        char error[200];
        const int result = pansharp_fuse(library.get(), &scene.job, error, sizeof error);
        ASSERT_EQ(progress.rows.size(), 1u);           // it is not asked again
        if (threads == 1 || progress.rows[0] < 2000) { // else the others were done before it was asked
            EXPECT_EQ(result, PANSHARP_CANCELLED);
            EXPECT_THAT(error, HasSubstr("of 2000 rows"));
        }
        if (threads == 1) {
            EXPECT_EQ(scene.out.Get(49, 1999, 0), 0xA5u) << "the rest was not left alone";
        }

        progress = {};
        progress.cancelAt = 2000; // with the last row: there is nothing left to be cancelled
        EXPECT_EQ(pansharp_fuse(library.get(), &scene.job, error, sizeof error), PANSHARP_OK);
        EXPECT_EQ(scene.out.Samples(), scene.Expected({}));
        ASSERT_FALSE(progress.rows.empty());
        EXPECT_TRUE(std::is_sorted(progress.rows.begin(), progress.rows.end(), std::less_equal<>()));
        EXPECT_EQ(progress.rows.back(), 2000u);
        EXPECT_EQ(progress.total, 2000u);
        EXPECT_THAT(progress.threads, testing::Each(std::this_thread::get_id()));
    }
}

TEST(FuseArrays, ExceptionOfTheCallbackStaysInside) {
    const Library library = Open();
    Scene scene(8, {50, 2000}, {25, 1000}, 3, Shape::Packed, Shape::Packed);
    scene.job.threads = 3;
    scene.job.progress = [](std::uint32_t, std::uint32_t, void*) -> int {
        throw std::runtime_error("the window was closed");
    };
    char error[200];
    EXPECT_EQ(pansharp_fuse(library.get(), &scene.job, error, sizeof error), PANSHARP_FAILED);
    EXPECT_STREQ(error, "the window was closed");
}

} // namespace
