#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rasterhost {

/// The contents of a product's metadata file, in whichever format it is written. The file may be wrong in any
/// way: every question has an answer, and what is missing is empty.
struct Metadata {
    std::string name; ///< of the group, element or key; for an attribute it begins with '@'
    std::string text;
    std::vector<Metadata> parts;

    /// The first part at a path such as "Raster_Data/Data_Access"; null if there is none.
    [[nodiscard]] const Metadata* Find(std::string_view path) const;
    /// The text at a path; empty if there is none.
    [[nodiscard]] std::string Get(std::string_view path) const;
    /// The number at a path; empty if the text is not a number.
    [[nodiscard]] std::optional<double> GetNumber(std::string_view path) const;
    /// The first part with a name, at any depth, in reading order; null if there is none.
    [[nodiscard]] const Metadata* Search(std::string_view wanted) const;
    /// The text of that part; empty if there is none.
    [[nodiscard]] std::string SearchText(std::string_view wanted) const;
    /// All parts with a name, at any depth, in reading order.
    [[nodiscard]] std::vector<const Metadata*> SearchAll(std::string_view wanted) const;
};

/// Reads JSON, XML, or lines "KEY = VALUE" in groups; the beginning of the text decides. Empty, with the
/// reason in `fault`, for a text that is damaged, nested too deeply or has too many parts.
[[nodiscard]] std::optional<Metadata> ParseMetadata(const std::string& text, std::string& fault);

} // namespace rasterhost
