#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

/// Runs a target on one input. Aborts when a promise is broken, else returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the program when a promise is broken, so that the input is kept.
inline void Require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
}

/// Results that are computed but not checked.
template <class... Results>
void Drop(const Results&...) {}

/// Reads every byte, so that a sanitizer detects missing ones.
inline void ReadAll(const void* bytes, std::size_t size) {
    unsigned sum = 0;
    for (const auto byte : std::span(static_cast<const unsigned char*>(bytes), size))
        sum += byte;
    volatile unsigned kept = sum;
    Drop(kept + 0);
}

/// Splits an input into numbers and texts. Past its end there are zeros and empty texts.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes(data, size) {}

    [[nodiscard]] bool IsEmpty() const { return bytes.empty(); }

    template <class Number>
    Number Take() {
        Number number{};
        const auto taken = bytes.first(std::min(bytes.size(), sizeof number));
        if (!taken.empty()) std::memcpy(&number, taken.data(), taken.size());
        bytes = bytes.subspan(taken.size());
        return number;
    }
    bool Flag() { return (Take<std::uint8_t>() & 1) != 0; }
    std::uint32_t Below(std::uint32_t end) { return Take<std::uint8_t>() % end; } ///< 0 to end - 1

    template <class Choices>
    const auto& Pick(const Choices& choices) {
        return choices[Below(static_cast<std::uint32_t>(std::size(choices)))];
    }

    /// The bytes up to the next line feed, which is consumed as well.
    std::string Line() {
        std::size_t length = 0;
        while (length < bytes.size() && bytes[length] != '\n')
            ++length;
        std::string text(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        bytes = bytes.subspan(std::min(bytes.size(), length + 1));
        return text;
    }
    std::string Rest() {
        std::string text(bytes.begin(), bytes.end());
        bytes = {};
        return text;
    }

private:
    std::span<const std::uint8_t> bytes;
};

} // namespace fuzz
