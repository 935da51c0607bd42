#pragma once

#include "SceneFiles.h"
#include "support/Noise.h"

#include <algorithm>
#include <array>

namespace testfiles {

/// A pair in which pan is a weighted sum of the bands plus noise. Pan and bands are means of one fine image:
/// a pan pixel is `panFine` fine pixels wide, a multispectral one `msFine`. The fourth band runs against the
/// others.
struct KnownPair {
    int panFine, msFine;
    std::array<double, 4> weights;
    int msSize = 150;
    int right = 0, below = 0; ///< displacement of the multispectral content, in fine pixels

    [[nodiscard]] static double Fine(int x, int y, int band) {
        const auto block = [&](int size) {
            return Noise(static_cast<unsigned>(x / size), static_cast<unsigned>(y / size),
                         static_cast<unsigned>(size));
        };
        const double common = 8000.0 * block(40) + 4000.0 * block(13);
        const double own = 3000.0 * Noise(static_cast<unsigned>(x / 29), static_cast<unsigned>(y / 29),
                                          100u + static_cast<unsigned>(band));
        return 20000.0 + (band == 3 ? -0.6 : 1.0) * common + own;
    }
    /// The mean over a pixel that is `size` fine pixels wide, from the fine pixel (x0, y0).
    [[nodiscard]] static double Mean(int size, int x0, int y0, int band) {
        double sum = 0.0;
        for (int y = y0; y < y0 + size; ++y)
            for (int x = x0; x < x0 + size; ++x)
                sum += Fine(x + 1000, y + 1000, band);
        return sum / (size * size);
    }
    [[nodiscard]] rasterhost::SharpenRequest Write(const Folder& folder) const {
        rasterhost::SharpenRequest request = MakeRequest();
        const int panSize = msSize * msFine / panFine;
        request.pan.file = folder.Write(
            "pan.tif", {panSize, panSize, 1, GDT_UInt16, Grid(panFine), {}}, [&](int c, int r, int) {
                double sum = 0.5 + 300.0 * Noise(static_cast<unsigned>(c), static_cast<unsigned>(r), 77);
                for (int band = 0; band < 4; ++band)
                    sum += weights[static_cast<std::size_t>(band)] *
                           Mean(panFine, c * panFine, r * panFine, band);
                return static_cast<unsigned>(std::max(sum, 0.0));
            });
        request.multispectral = {{folder.Write("ms.tif", {msSize, msSize, 4, GDT_UInt16, Grid(msFine), {}},
                                               [&](int c, int r, int band) {
                                                   return static_cast<unsigned>(Mean(
                                                       msFine, c * msFine - right, r * msFine - below, band));
                                               }),
                                  {}}};
        request.output = folder / "fused.tif";
        request.overwrite = true;
        return request;
    }
};

} // namespace testfiles
