#include "kernels/SumRow.h"

#include "kernels/Angle.h"

#include <algorithm>
#include <cmath>

namespace kernels {

void SumWeightedScalar(const unsigned short* const* rows, const double* weights, std::size_t rowCount,
                       std::size_t length, double* sums) {
    for (std::size_t i = 0; i < length; ++i) {
        sums[i] = 0.0;
        for (std::size_t row = 0; row < rowCount; ++row)
            sums[i] += weights[row] * rows[row][i];
    }
}

void AddProductsScalar(const double* rows, std::size_t length,
                       const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                       double* parts) {
    for (std::size_t pair = 0; pair < pairCount; ++pair, parts += sumParts) {
        const double* a = rows + pairs[pair].first * length;
        const double* b = rows + pairs[pair].second * length;
        for (std::size_t i = 0; i < length; ++i)
            parts[i % sumParts] += a[i] * b[i];
    }
}

void SpreadPixelsScalar(const unsigned short* pixels, std::size_t bands, std::size_t count,
                        unsigned short* planes) {
    for (std::size_t pixel = 0; pixel < count; ++pixel)
        for (std::size_t band = 0; band < bands; ++band)
            planes[band * spreadPixels + pixel] = pixels[pixel * bands + band];
}

bool LessOriginsScalar(const unsigned short* planes, const unsigned short* origins, std::size_t rows,
                       std::size_t count, short* differences) {
    bool fits = true;
    for (std::size_t row = 0; row < rows; ++row, planes += spreadPixels, differences += wholeRow) {
        std::fill(differences + count, differences + wholeRow, short{0});
        for (std::size_t i = 0; i < count; ++i) {
            const int difference = int{planes[i]} - int{origins[row]};
            fits = fits && difference >= -mostDifference && difference <= mostDifference;
            differences[i] = static_cast<short>(difference);
        }
    }
    return fits;
}

void AddWholeProductsScalar(const short* rows, const std::pair<std::size_t, std::size_t>* pairs,
                            std::size_t pairCount, std::int32_t* parts) {
    for (std::size_t pair = 0; pair < pairCount; ++pair, parts += wholeParts) {
        const short* a = rows + pairs[pair].first * wholeRow;
        const short* b = rows + pairs[pair].second * wholeRow;
        for (std::size_t i = 0; i < wholeRow; ++i)
            parts[i % wholeParts] += a[i] * b[i];
    }
}

void AddPairsScalar(const std::int32_t* a, const std::int32_t* b, std::size_t count, PairSums& sums) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::int64_t x = a[i], y = b[i];
        sums.a += x;
        sums.b += y;
        sums.aa += x * x;
        sums.bb += y * y;
        sums.ab += x * y;
    }
}

double FindAngle(double cosine) {
    const double square = std::max(0.5 - 0.5 * cosine, 0.0); // of the sine of half the angle
    if (square > mostSquare) return std::acos(std::max(cosine, -1.0));
    double series = asinTerms[0];
    for (std::size_t term = 1; term < std::size(asinTerms); ++term)
        series = series * square + asinTerms[term];
    return 2.0 * std::sqrt(square) * series;
}

void AddAnglesScalar(const unsigned short* image, const unsigned short* reference, std::size_t stride,
                     std::size_t bands, std::size_t count, AngleSum& sum) {
    for (std::size_t pixel = 0; pixel < count; ++pixel) {
        double product = 0.0, imageSquares = 0.0, referenceSquares = 0.0;
        for (std::size_t band = 0; band < bands; ++band) {
            const double x = image[band * stride + pixel], y = reference[band * stride + pixel];
            product += x * y;
            imageSquares += x * x;
            referenceSquares += y * y;
        }
        if (imageSquares == 0.0 || referenceSquares == 0.0) continue;
        // One root of the product, so that the cosine of proportional spectra is exactly 1.
        sum.radians += FindAngle(product / std::sqrt(imageSquares * referenceSquares));
        ++sum.count;
    }
}

} // namespace kernels
