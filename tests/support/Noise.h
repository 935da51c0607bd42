#pragma once

namespace testfiles {

/// Noise without a pattern, -1 to 1, always the same at the same position.
inline double Noise(unsigned x, unsigned y, unsigned band) {
    unsigned h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ band * 0xC2B2AE3Du;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return static_cast<double>(h ^ h >> 15) / 2147483647.5 - 1.0;
}

} // namespace testfiles
