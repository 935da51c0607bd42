#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What stands in a request line: a path, and parameters behind it. Everything here throws BadRequest.
namespace view {

/// The longest target of a request, in bytes, and the most parameters of one.
inline constexpr std::size_t longestTarget = 8192, mostParameters = 32;

/// The parameters of a request. Each is known by its name, has been asked for or is refused.
class Query {
public:
    /// The parameters of "name=value&...", percent signs decoded.
    explicit Query(std::string_view text);

    /// The value of a parameter; none where the request lacks it.
    [[nodiscard]] std::optional<std::string> Take(std::string_view name);
    /// Refuses parameters that nobody asked for.
    void RefuseOthers() const;

private:
    struct Parameter {
        std::string name, value;
        bool isTaken = false;
    };
    std::vector<Parameter> parameters;
};

/// A text with "%41" as "A"; no control characters come of it.
[[nodiscard]] std::string DecodePercent(std::string_view text);

/// The parts between separators, one at least.
[[nodiscard]] std::vector<std::string_view> Split(std::string_view text, char separator);

/// A whole number within the range. `name` is what the message calls it.
[[nodiscard]] std::uint32_t ReadWhole(std::string_view name, std::string_view text, std::uint32_t least,
                                      std::uint32_t most);
/// A finite number within the range.
[[nodiscard]] double ReadNumber(std::string_view name, std::string_view text, double least, double most);

} // namespace view
