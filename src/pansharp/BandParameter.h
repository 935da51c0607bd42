#pragma once

#include "host/Describe.h"

#include <iterator>
#include <limits>
#include <span>

/// Building blocks for the per-band parameters of methods. A method has a rule from the texts of its
/// properties to its values and a rule back, and describes both in a PansharpBandParameter.
namespace PXL {

inline constexpr double unbounded = std::numeric_limits<double>::infinity();
/// Takes the place of the property of the bands, or of the additional band, if they have no value.
inline constexpr PansharpProperty noProperty = {nullptr, "double", "", ""};

/// Texts of the properties of a parameter; null or empty when not set.
struct ParameterTexts {
    const char* const* bands; ///< one per value
    const char* additional;   ///< of the additional band
};

/// Reads every value as a number: `whenMissing` without a text, `whenMalformed` if the text is not a number.
void ReadBandValues(const ParameterTexts& texts, double whenMissing, double whenMalformed,
                    std::span<double> values);
/// Reads the last value from the text of the additional band, if it is set; 0 if it is not a number.
void ReadAdditionalValue(const ParameterTexts& texts, std::span<double> values);

/// Makes a rule a function of the contract.
template <void (*rule)(const ParameterTexts&, std::span<double>)>
int FromProperties(const char* const* texts, const char* additional, std::uint32_t count, double* values) {
    try {
        rule({texts, additional}, {values, count});
        return 1;
    } catch (...) {
        return 0;
    }
}

/// The rule back if a value is the number in its property.
void ToProperties(const double* values, std::uint32_t count, std::uint32_t hasAdditional, double* numbers,
                  double* additional);

} // namespace PXL
