#include "Scene.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace demo {
namespace {

std::uint8_t RoundedQuotient(unsigned sum, unsigned count) {
    return static_cast<std::uint8_t>((2 * sum + count) / (2 * count));
}

// The position of a fine pixel's centre between two coarse pixel centres.
struct Between {
    int low;
    int high;
    double fraction; ///< of the way from low to high
};

Between Locate(int fine, int factor, int coarseCount) {
    const double position = (fine + 0.5) / factor - 0.5;
    const double below = std::floor(position);
    const int low = static_cast<int>(below);
    return {std::clamp(low, 0, coarseCount - 1), std::clamp(low + 1, 0, coarseCount - 1), position - below};
}

} // namespace

Image Crop(const Image& image, int rows, int columns, std::size_t bandCount) {
    if (image.rows < rows || image.columns < columns || image.bands.size() < bandCount)
        throw std::runtime_error("the source image is smaller than " + std::to_string(columns) + " x " +
                                 std::to_string(rows) + " x " + std::to_string(bandCount));
    Image cropped = image.Like(columns, rows, bandCount, 1.0);
    for (std::size_t band = 0; band < bandCount; ++band)
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column)
                cropped.bands[band][cropped.Index(row, column)] = image.At(band, row, column);
    return cropped;
}

Image MeanOfBands(const Image& image) {
    Image mean = image.Like(image.columns, image.rows, 1, 1.0);
    for (std::size_t pixel = 0; pixel < mean.bands[0].size(); ++pixel) {
        unsigned sum = 0;
        for (const auto& band : image.bands)
            sum += band[pixel];
        mean.bands[0][pixel] = RoundedQuotient(sum, static_cast<unsigned>(image.bands.size()));
    }
    return mean;
}

Image AverageDown(const Image& image, int factor) {
    Image coarse = image.Like(image.columns / factor, image.rows / factor, image.bands.size(), factor);
    const auto count = static_cast<unsigned>(factor * factor);
    for (std::size_t band = 0; band < image.bands.size(); ++band)
        for (int row = 0; row < coarse.rows; ++row)
            for (int column = 0; column < coarse.columns; ++column) {
                unsigned sum = 0;
                for (int y = 0; y < factor; ++y)
                    for (int x = 0; x < factor; ++x)
                        sum += image.At(band, row * factor + y, column * factor + x);
                coarse.bands[band][coarse.Index(row, column)] = RoundedQuotient(sum, count);
            }
    return coarse;
}

Image BilinearUp(const Image& image, int factor) {
    Image fine = image.Like(image.columns * factor, image.rows * factor, image.bands.size(), 1.0 / factor);
    for (std::size_t band = 0; band < image.bands.size(); ++band)
        for (int row = 0; row < fine.rows; ++row) {
            const Between y = Locate(row, factor, image.rows);
            for (int column = 0; column < fine.columns; ++column) {
                const Between x = Locate(column, factor, image.columns);
                const auto across = [&](int line) {
                    return image.At(band, line, x.low) * (1.0 - x.fraction) +
                           image.At(band, line, x.high) * x.fraction;
                };
                const double value = across(y.low) * (1.0 - y.fraction) + across(y.high) * y.fraction;
                fine.bands[band][fine.Index(row, column)] =
                    static_cast<std::uint8_t>(std::floor(value + 0.5));
            }
        }
    return fine;
}

} // namespace demo
