#include "kernels/HalveRow.h"

#include <algorithm>
#include <limits>

namespace kernels {

template <class T>
void HalveRowScalar(const std::array<const T*, 8>& rows, std::size_t pixels, std::size_t bands,
                    HalvingSum<T>*, T* out) {
    constexpr float most = std::numeric_limits<T>::max();
    for (std::size_t x = 2; x + 2 < pixels; ++x)
        for (std::size_t band = 0; band < bands; ++band) {
            std::int64_t sum = 0;
            for (std::size_t row = 0; row < 8; ++row)
                for (std::size_t tap = 0; tap < 8; ++tap)
                    sum += std::int64_t{halvingWeights[row]} * halvingWeights[tap] *
                           rows[row][(2 * x - 3 + tap) * bands + band];
            const float value = static_cast<float>(static_cast<double>(sum) / 65536.0) + 0.5f;
            out[x * bands + band] = static_cast<T>(std::clamp(value, 0.0f, most));
        }
}

template void HalveRowScalar(const std::array<const unsigned char*, 8>&, std::size_t, std::size_t,
                             HalvingSum<unsigned char>*, unsigned char*);
template void HalveRowScalar(const std::array<const unsigned short*, 8>&, std::size_t, std::size_t,
                             HalvingSum<unsigned short>*, unsigned short*);

} // namespace kernels
