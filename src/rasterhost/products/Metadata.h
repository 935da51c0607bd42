#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rasterhost {

/// What a product's metadata file says, whichever of the ways to write it down was taken. Nobody need have
/// written it well: all questions have an answer, and what is missing is empty.
struct Metadata {
    std::string name; ///< of the group, element or key; that of an attribute begins with '@'
    std::string text;
    std::vector<Metadata> parts;

    /// The first one at a path such as "Raster_Data/Data_Access"; null without one.
    [[nodiscard]] const Metadata* Find(std::string_view path) const;
    /// Its text; empty without one.
    [[nodiscard]] std::string Get(std::string_view path) const;
    /// Its text as a number, if it is one.
    [[nodiscard]] std::optional<double> GetNumber(std::string_view path) const;
    /// The first one of a name, at whatever depth, in reading order; null without one.
    [[nodiscard]] const Metadata* Search(std::string_view wanted) const;
    /// Its text; empty without one.
    [[nodiscard]] std::string SearchText(std::string_view wanted) const;
    /// All of a name, at whatever depth, in reading order.
    [[nodiscard]] std::vector<const Metadata*> SearchAll(std::string_view wanted) const;
};

/// Reads JSON, XML, or lines "KEY = VALUE" in groups: by how the text begins. None, with `fault` saying why,
/// for a text that is damaged, nested too deeply or has too many parts.
[[nodiscard]] std::optional<Metadata> ParseMetadata(const std::string& text, std::string& fault);

} // namespace rasterhost
