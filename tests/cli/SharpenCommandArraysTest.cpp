#include "Child.h"
#include "Scene.h"
#include "capi/pansharp.h"
#include "support/Noise.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace {

constexpr std::uint32_t size = 160, half = size / 2, bands = 3;

/// Pan with detail of several sizes and bands that follow it in part.
void MakePair(scene::Raster& pan, scene::Raster& ms) {
    pan = scene::MakeRaster(size, size, 1, 16, 1);
    ms = scene::MakeRaster(half, half, bands, 16, 1);
    for (unsigned i = 0; i < size * size; ++i) {
        double sum = 20000.0;
        for (const unsigned grain : {1u, 3u, 9u})
            sum += 3000.0 * testfiles::Noise(i % size / grain, i / size / grain, grain);
        pan.samples[i] = static_cast<unsigned>(sum);
    }
    for (unsigned i = 0; i < half * half * bands; ++i) {
        const unsigned at = i % (half * half), column = at % half * 2, row = at / half * 2;
        const unsigned sum = pan.samples[row * size + column] + pan.samples[row * size + column + 1] +
                             pan.samples[(row + 1) * size + column] +
                             pan.samples[(row + 1) * size + column + 1];
        ms.samples[i] = sum * (2 + i / (half * half)) / 16;
    }
}

struct Arrays {
    std::vector<unsigned short> pan, ms, out;
    std::array<pansharp_gains, bands> gains{};
    pansharp_job job{};

    Arrays(const scene::Raster& panRaster, const scene::Raster& msRaster)
        : pan(panRaster.samples.begin(), panRaster.samples.end()),
          ms(msRaster.samples.begin(), msRaster.samples.end()), out(pan.size() * bands) {
        pansharp_job_init(&job, sizeof job);
        job.bits_per_sample = 16;
        job.pan = {pan.data(), size, size, 1, 0, 0, 0, 0.0, 0.0, 0.0, 0.0};
        job.multispectral = {ms.data(), half, half, bands, 2 * half, 2, 2 * half * half, 0, 0, 0, 0};
        job.output = {out.data(), 2 * size, 2, 2 * size * size};
    }
};

TEST(SharpenCommandArrays, GetThePixelsOfTheCommandAndSoDoTheirTiles) {
    const child::Folder folder;
    scene::Raster pan, ms;
    MakePair(pan, ms);
    scene::Write(folder / "pan.tif", pan, {});
    scene::Write(folder / "ms.tif", ms, {.pixelSize = 20.0});
    ASSERT_EQ(child::Run(folder, {"sharpen", "-q", "pan.tif", "ms.tif", "-o", "out.tif"}).code, 0);
    const std::vector<unsigned> expected = scene::Read(folder / "out.tif").samples;

    char error[1000] = "";
    const std::unique_ptr<pansharp, decltype(&pansharp_close)> library(
        pansharp_open(PANSHARP_PLUGIN_FILE, error, sizeof error), &pansharp_close);
    Arrays whole(pan, ms);
    ASSERT_EQ(pansharp_fuse(library.get(), &whole.job, error, sizeof error), PANSHARP_OK) << error;
    EXPECT_EQ(std::vector<unsigned>(whole.out.begin(), whole.out.end()), expected);

    Arrays tile(pan, ms);
    pansharp_detail found{};
    ASSERT_EQ(pansharp_fit(library.get(), &tile.job, tile.gains.data(), &found, error, sizeof error),
              PANSHARP_OK)
        << error;
    EXPECT_LT(found.error, found.plain_error);
    constexpr std::uint32_t first = 40, rows = 70, margin = 12; // of pan
    tile.job.gains = tile.gains.data();
    tile.job.gain_count = bands;
    tile.job.transfer = found.transfer;
    tile.job.low_pass_mean = found.low_pass_mean;
    tile.job.pan = {tile.pan.data() + first * size, size, rows, 1, 0, 0, 0, 0.0, 0.0, 0.0, 0.0};
    tile.job.multispectral.pixel_width = tile.job.multispectral.pixel_height = 2.0;
    tile.job.multispectral.offset_y = first / 2.0;
    ASSERT_EQ(pansharp_fuse(library.get(), &tile.job, error, sizeof error), PANSHARP_OK) << error;
    for (std::uint32_t band = 0; band < bands; ++band)
        for (std::uint32_t i = margin * size; i < (rows - margin) * size; ++i)
            ASSERT_EQ(tile.out[band * size * size + i], expected[(band * size + first) * size + i]) << i;
}

} // namespace
