#pragma once

#include "rasterhost/requests/Json.h"

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

/// A fault in a description: the key and the reason.
struct RecordFault {
    std::string text;
};

/// A value of a description that may be damaged. Each function returns what was asked for, within bounds, or
/// throws RecordFault.
class RecordPart {
public:
    /// `name` is its key with those above it, as in "fusion.weights". The value must outlive the part.
    RecordPart(const Json& json, std::string name) : value(json), key(std::move(name)) {}

    /// Parses a whole description. Throws RecordFault when it is malformed, nested too deeply or has too many
    /// values.
    [[nodiscard]] static Json Parse(const std::string& text);

    /// Checks for an object with no other keys than these; any of them may be missing.
    void CheckKeys(std::initializer_list<const char*> known) const;
    [[nodiscard]] RecordPart Get(const char* name) const;
    /// Empty when the key is missing or its value is null.
    [[nodiscard]] std::optional<RecordPart> Find(const char* name) const;
    [[nodiscard]] std::vector<RecordPart> GetList(std::size_t most) const;

    [[nodiscard]] bool IsNull() const { return value.is_null(); }
    [[nodiscard]] bool GetFlag() const;
    [[nodiscard]] double GetNumber() const; ///< finite
    [[nodiscard]] std::uint64_t GetWhole(std::uint64_t least, std::uint64_t most) const;
    [[nodiscard]] std::string GetText(std::size_t most = mostText) const;
    [[nodiscard]] std::vector<double> GetNumbers(std::size_t most) const;
    template <std::size_t N>
    [[nodiscard]] std::array<double, N> GetArray() const {
        const std::vector<double> numbers = GetNumbers(N);
        if (numbers.size() != N) Refuse("has too few numbers");
        std::array<double, N> array{};
        for (std::size_t i = 0; i < N; ++i)
            array[i] = numbers[i];
        return array;
    }

    [[noreturn]] void Refuse(const std::string& why) const;

    static constexpr std::size_t mostText = std::size_t{64} << 10; ///< bytes

private:
    const Json& value;
    std::string key;
};

} // namespace rasterhost
