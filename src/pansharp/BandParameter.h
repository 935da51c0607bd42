#pragma once

#include "host/Describe.h"

#include <iterator>
#include <limits>
#include <span>

/// What the per-band parameters of methods are made of: a method has a rule from the texts of its properties
/// to its values, another back, and describes both in a PansharpBandParameter.
namespace PXL {

inline constexpr double unbounded = std::numeric_limits<double>::infinity();
/// In the place of that of the bands, or of the additional band, which have no value then.
inline constexpr PansharpProperty noProperty = {nullptr, "double", "", ""};

/// Texts of the properties of a parameter; null or empty where one is not set.
struct ParameterTexts {
    const char* const* bands; ///< one per value
    const char* additional;   ///< of the additional band
};

/// Every value is the number that its text is, `whenMissing` without a text and `whenMalformed` where that
/// is not a number.
void ReadBandValues(const ParameterTexts& texts, double whenMissing, double whenMalformed,
                    std::span<double> values);
/// The text of the additional band, when set, gives the last value; 0 when it is not a number.
void ReadAdditionalValue(const ParameterTexts& texts, std::span<double> values);

/// A rule as the function of the contract.
template <void (*rule)(const ParameterTexts&, std::span<double>)>
int FromProperties(const char* const* texts, const char* additional, std::uint32_t count, double* values) {
    try {
        rule({texts, additional}, {values, count});
        return 1;
    } catch (...) {
        return 0;
    }
}

/// The way back where a value is the number in its property.
void ToProperties(const double* values, std::uint32_t count, std::uint32_t hasAdditional, double* numbers,
                  double* additional);

} // namespace PXL
