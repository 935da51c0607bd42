#include "kernels/SumRow.h"

namespace kernels {

void AddWeightedScalar(const unsigned short* samples, double weight, std::size_t count, double* sums) {
    for (std::size_t i = 0; i < count; ++i)
        sums[i] += weight * samples[i];
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

} // namespace kernels
