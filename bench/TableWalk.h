#pragma once

#include "kernels/FusionRow.h"

#include <limits>
#include <vector>

/// The plain way to fuse a row, for comparison with the kernels: one table look-up and one addition per band.
namespace bench {

using Tables = std::vector<std::vector<double>>;

template <class T>
Tables ProductTables(const std::vector<double>& weights) {
    Tables tables;
    for (const double weight : weights) {
        auto& table = tables.emplace_back(std::size_t{std::numeric_limits<T>::max()} + 1);
        for (std::size_t v = 0; v < table.size(); ++v)
            table[v] = static_cast<double>(v) * weight;
    }
    return tables;
}

template <class T>
void KovaTableWalk(const T* ms, const T* pan, T* out, std::size_t pixels, const Tables& tables) {
    const std::size_t bands = tables.size();
    constexpr double most = std::numeric_limits<T>::max();
    for (std::size_t p = 0; p < pixels; ++p) {
        double s = 0.0;
        for (std::size_t b = 0; b < bands; ++b)
            s += tables[b][ms[b]];
        const double d = pan[p] - s;
        for (std::size_t c = 0; c < bands; ++c) {
            double x = ms[c] + d;
            if (x < 0)
                x = 0;
            else if (x > most)
                x = most;
            out[c] = static_cast<T>(x + 0.5);
        }
        ms += bands;
        out += bands;
    }
}

template <class T>
void BroveyTableWalk(const T* ms, const T* pan, T* out, std::size_t pixels, const Tables& tables) {
    const std::size_t bands = tables.size();
    constexpr double most = std::numeric_limits<T>::max();
    for (std::size_t p = 0; p < pixels; ++p) {
        double s = 0.0;
        for (std::size_t b = 0; b < bands; ++b)
            s += tables[b][ms[b]];
        const double r = s != 0.0 ? pan[p] / s : 0.0;
        for (std::size_t c = 0; c < bands; ++c) {
            const double x = ms[c] * r;
            out[c] = x < 0 ? T{0} : x > most ? static_cast<T>(most) : static_cast<T>(x);
        }
        ms += bands;
        out += bands;
    }
}

} // namespace bench
