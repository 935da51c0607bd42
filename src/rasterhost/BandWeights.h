#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

/// Between the weights that people give, which are those that count in the sum of the bands, and the
/// properties of the methods, some of which scale what they read. Bands are in the order of the process.
namespace rasterhost {

/// Properties by name in lower case, each with its name as written and its value.
using PropertyTexts = std::map<std::string, std::pair<std::string, std::string>>;

/// Sets or replaces a property, whatever the letter case of its name.
void SetProperty(PropertyTexts& properties, const std::string& name, const std::string& value);

/// Sets "BandWeight-1" and so on, so that the method ends up with these weights.
void SetEffectiveWeights(const std::string& method, const std::vector<double>& weights,
                         PropertyTexts& properties);

/// The weights that the method ends up with for so many bands, as it reads the properties.
[[nodiscard]] std::vector<double> FindEffectiveWeights(const std::string& method, std::size_t bands,
                                                       const PropertyTexts& properties);

/// The shortest text that reads as this number again.
[[nodiscard]] std::string NumberText(double number);

} // namespace rasterhost
