#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What the methods make of their properties, raw ones included. Bands are in the order of the process.
namespace rasterhost {

/// Properties by name in lower case, each with its name as written and its value.
using PropertyTexts = std::map<std::string, std::pair<std::string, std::string>>;

/// Sets or replaces a property, whatever the letter case of its name.
void SetProperty(PropertyTexts& properties, const std::string& name, const std::string& value);

/// The weights that the method ends up with for so many bands, the infrared one counted, as it reads the
/// properties.
[[nodiscard]] std::vector<double> FindEffectiveWeights(const std::string& method, std::size_t bands,
                                                       const PropertyTexts& properties);

/// "AdditionalBandWeight", where it is given.
[[nodiscard]] std::optional<double> FindAdditionalBandWeight(const PropertyTexts& properties);

/// The shortest text that reads as this number again.
[[nodiscard]] std::string NumberText(double number);

} // namespace rasterhost
