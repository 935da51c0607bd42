#include "kernels/SumRow.h"

#include <algorithm>

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

} // namespace kernels
