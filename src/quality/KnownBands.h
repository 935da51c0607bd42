#pragma once

#include <cstddef>
#include <type_traits>

namespace quality {

/// Calls `function` with the number of bands as a compile-time constant, which makes loops over bands fast,
/// or with 0 if it is not one of the usual numbers.
template <class Function>
void WithKnownBands(std::size_t bands, const Function& function) {
    switch (bands) {
    case 1:
        return function(std::integral_constant<std::size_t, 1>());
    case 3:
        return function(std::integral_constant<std::size_t, 3>());
    case 4:
        return function(std::integral_constant<std::size_t, 4>());
    case 8:
        return function(std::integral_constant<std::size_t, 8>());
    default:
        return function(std::integral_constant<std::size_t, 0>());
    }
}

} // namespace quality
