#include "quality/SpectralAngle.h"

#include "quality/KnownBands.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quality {

namespace {

/// The angle of a cosine, in radians. Most angles are small: they take the series of asin, in
/// acos(c) = 2 asin(sqrt((1 - c) / 2)). Up to 14 degrees the terms left out are less than 2^-54 of the angle.
double FindAngle(double cosine) {
    const double square = std::max(0.5 - 0.5 * cosine, 0.0); // of the sine of half the angle
    if (square > 1.0 / 64.0) return std::acos(std::max(cosine, -1.0));
    double series = 143.0 / 10240.0;
    for (const double term :
         {231.0 / 13312.0, 63.0 / 2816.0, 35.0 / 1152.0, 5.0 / 112.0, 3.0 / 40.0, 1.0 / 6.0, 1.0})
        series = series * square + term;
    return 2.0 * std::sqrt(square) * series;
}

} // namespace

template <class Image, class Reference>
void SpectralAngle::AddRow(const Image* image, const Reference* reference, const unsigned char* valid,
                           std::size_t columns) {
    WithKnownBands(bands, [&](auto known) {
        const std::size_t length = known != 0 ? known : bands;
        for (std::size_t column = 0; column < columns; ++column, image += length, reference += length) {
            if (!valid[column]) continue;
            double product = 0.0, imageSquares = 0.0, referenceSquares = 0.0;
            for (std::size_t band = 0; band < length; ++band) {
                const auto x = static_cast<double>(image[band]), y = static_cast<double>(reference[band]);
                product += x * y;
                imageSquares += x * x;
                referenceSquares += y * y;
            }
            if (imageSquares == 0.0 || referenceSquares == 0.0) continue;
            // One root of the product, so that the cosine of proportional spectra is exactly 1.
            const double cosine = product / std::sqrt(imageSquares * referenceSquares);
            sum += FindAngle(cosine);
            ++count;
        }
    });
}
template void SpectralAngle::AddRow(const double*, const double*, const unsigned char*, std::size_t);
template void SpectralAngle::AddRow(const double*, const unsigned short*, const unsigned char*, std::size_t);
template void SpectralAngle::AddRow(const unsigned short*, const unsigned short*, const unsigned char*,
                                    std::size_t);

double SpectralAngle::Find() const { return sum / static_cast<double>(count) * 180.0 / std::numbers::pi; }

} // namespace quality
