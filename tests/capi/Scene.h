#pragma once

#include "StridedImage.h"
#include "support/MethodOracle.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace testcapi {

using Library = std::unique_ptr<pansharp, decltype(&pansharp_close)>;

inline Library Open() {
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
        : place(Whole(msSize, panSize)), written(std::move(writtenBands)),
          pan(inputs, bits, panSize.columns, panSize.rows, 1),
          ms(inputs, bits, msSize.columns, msSize.rows, bands),
          out(outputs, bits, panSize.columns, panSize.rows,
              written.empty() ? bands : static_cast<std::uint32_t>(written.size())) {
        pan.Fill(bits + 1);
        ms.Fill(bits + 2);
        pansharp_job_init(&job, sizeof job);
        job.bits_per_sample = bits;
        job.method = "KOVA";
        job.pan = pan.Image();
        job.multispectral = ms.Image();
        job.output = out.Output();
        if (!written.empty()) {
            job.output_bands = written.data();
            job.output_band_count = static_cast<std::uint32_t>(written.size());
        }
    }

    /// All samples of the output by the method's definition; equal weights unless some are given.
    [[nodiscard]] std::vector<unsigned> Expected(oracle::Pixel weights = {},
                                                 const std::string& method = "KOVA") const {
        const std::uint32_t bands = ms.bands + (infrared ? 1 : 0);
        if (weights.empty()) weights.assign(bands, 1.0 / bands);
        const double max = ms.sampleBytes == 1 ? 255 : 65535;
        const oracle::Tables tables = oracle::ProductTables(weights, max);
        std::vector<unsigned> expected;
        for (std::uint32_t r = 0; r < pan.rows; ++r)
            for (std::uint32_t c = 0; c < pan.columns; ++c) {
                oracle::Pixel pixel;
                for (std::uint32_t b = 0; b < ms.bands; ++b)
                    pixel.push_back(Interpolate(ms, place, c, r, b));
                if (infrared) pixel.push_back(Interpolate(*infrared, infraredPlace, c, r, 0));
                const oracle::Pixel fused = oracle::Fuse(method, pixel, pan.Get(c, r, 0), tables, max);
                for (std::uint32_t i = 0; i < out.bands; ++i)
                    expected.push_back(static_cast<unsigned>(fused[written.empty() ? i : written[i] - 1]));
            }
        return expected;
    }

    /// Of an image that covers what pan covers.
    static Placement Whole(Size own, Size panSize) {
        return {kernels::MakeGridAxis(1.0 * own.columns / panSize.columns, 0),
                kernels::MakeGridAxis(1.0 * own.rows / panSize.rows, 0)};
    }

    void AddInfrared(Shape shape, Size size) {
        infrared.emplace(shape, ms.sampleBytes * 8, size.columns, size.rows, 1);
        infrared->Fill(77);
        infraredPlace = Whole(size, {pan.columns, pan.rows});
        job.infrared = infrared->Image();
    }

    /// The infrared weight last; they must outlive the job.
    void SetWeights(const std::vector<double>& weights) {
        if (weights.empty()) return;
        job.weights = weights.data();
        job.weight_count = ms.bands;
        if (infrared) job.infrared_weight = &weights.back();
    }

    pansharp_result Fuse(pansharp* library) { return pansharp_fuse(library, &job, error, sizeof error); }

    Placement place;
    std::vector<std::uint32_t> written;
    StridedImage pan, ms, out;
    std::optional<StridedImage> infrared;
    Placement infraredPlace{};
    pansharp_job job;
    char error[2000] = "";
};

} // namespace testcapi
