#pragma once

#include <cstdint>

namespace KOVA::Tessara::Pixmere {

/// Two words that a process returns by value; all zero here.
struct ProcessModifierFlags {
    std::uint32_t word = 0;     ///< not interpreted
    std::uint16_t halfWord = 0; ///< not interpreted
};

} // namespace KOVA::Tessara::Pixmere
