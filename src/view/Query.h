#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The contents of a request line: a path and parameters. Everything here throws BadRequest.
namespace view {

/// The longest target of a request, in bytes, and the largest number of parameters.
inline constexpr std::size_t longestTarget = 8192, mostParameters = 32;

/// The parameters of a request. Each must be taken by name, or is refused.
class Query {
public:
    /// Parses "name=value&..." and decodes percent signs.
    explicit Query(std::string_view text);

    /// The value of a parameter; empty when the request does not have it.
    [[nodiscard]] std::optional<std::string> Take(std::string_view name);
    /// Throws for parameters that were not taken.
    void RefuseOthers() const;

private:
    struct Parameter {
        std::string name, value;
        bool isTaken = false;
    };
    std::vector<Parameter> parameters;
};

/// Decodes "%41" to "A". The result has no control characters.
[[nodiscard]] std::string DecodePercent(std::string_view text);

/// The parts between separators, at least one.
[[nodiscard]] std::vector<std::string_view> Split(std::string_view text, char separator);

/// A whole number within the range. `name` is its name in the message.
[[nodiscard]] std::uint32_t ReadWhole(std::string_view name, std::string_view text, std::uint32_t least,
                                      std::uint32_t most);
/// A finite number within the range.
[[nodiscard]] double ReadNumber(std::string_view name, std::string_view text, double least, double most);

} // namespace view
