#include "pansharp/BandParameter.h"

#include "fundament/Numbers.h"

#include <algorithm>
#include <limits>

namespace PXL {

using KOVA::Tessara::Fundament::StringToDouble;

namespace {

bool IsSet(const char* text) { return text && *text; }

} // namespace

void ReadBandValues(const ParameterTexts& texts, double whenMissing, double whenMalformed,
                    std::span<double> values) {
    for (std::size_t b = 0; b < values.size(); ++b)
        values[b] = IsSet(texts.bands[b]) ? StringToDouble(texts.bands[b], whenMalformed) : whenMissing;
}

void ReadAdditionalValue(const ParameterTexts& texts, std::span<double> values) {
    if (IsSet(texts.additional) && !values.empty()) values.back() = StringToDouble(texts.additional, 0.0);
}

void ToProperties(const double* values, std::uint32_t count, std::uint32_t hasAdditional, double* numbers,
                  double* additional) {
    constexpr double unset = std::numeric_limits<double>::quiet_NaN();
    std::copy_n(values, count, numbers);
    *additional = hasAdditional ? values[count - 1] : unset;
    if (hasAdditional) numbers[count - 1] = unset;
}

} // namespace PXL
