#include "kernels/YuvRow.h"

#include "kernels/Store.h"

namespace kernels {

template <class T>
void RgbToYuvRow(const T* in, T* out, std::size_t pixels) {
    for (std::size_t p = 0; p < pixels; ++p, in += 3, out += 3) {
        const int r = in[0];
        const int g = in[1];
        const int b = in[2];
        out[0] = StoreRounded<T>(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16);
        out[1] = StoreRounded<T>(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128);
        out[2] = StoreRounded<T>(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128);
    }
}

template <class T>
void YuvToRgbRow(const T* in, T* out, std::size_t pixels) {
    for (std::size_t p = 0; p < pixels; ++p, in += 3, out += 3) {
        const int c = in[0] - 16;
        const int d = in[1] - 128;
        const int e = in[2] - 128;
        out[0] = StoreRounded<T>((298 * c + 409 * e + 128) >> 8);
        out[1] = StoreRounded<T>((298 * c - 100 * d - 208 * e + 128) >> 8);
        out[2] = StoreRounded<T>((298 * c + 516 * d + 128) >> 8);
    }
}

template void RgbToYuvRow(const unsigned char*, unsigned char*, std::size_t);
template void RgbToYuvRow(const unsigned short*, unsigned short*, std::size_t);
template void YuvToRgbRow(const unsigned char*, unsigned char*, std::size_t);
template void YuvToRgbRow(const unsigned short*, unsigned short*, std::size_t);

} // namespace kernels
