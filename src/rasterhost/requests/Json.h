#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace rasterhost {

/// Bytes from the heap. When the heap refuses, the head of a list or object comes from a small store instead:
/// the library changes the type of a value before it asks for the head, and destroys the value when it gets
/// none.
inline constexpr std::size_t jsonHeadBytes = sizeof(std::vector<int>);
[[nodiscard]] void* TakeJsonHead();
void ReturnJsonHead(void* block) noexcept;

/// The memory of lists, objects and texts.
template <class T>
struct JsonMemory {
    using value_type = T;

    JsonMemory() = default;
    template <class U>
    // NOLINTNEXTLINE(google-explicit-constructor): as of std::allocator
    explicit(false) JsonMemory(const JsonMemory<U>&) noexcept {}

    [[nodiscard]] T* allocate(std::size_t count) {
        if (count > SIZE_MAX / sizeof(T)) throw std::bad_array_new_length();
        const bool isHead = sizeof(T) == jsonHeadBytes && count == 1;
        return static_cast<T*>(isHead ? TakeJsonHead() : ::operator new(count * sizeof(T)));
    }
    void deallocate(T* block, std::size_t) noexcept { ReturnJsonHead(block); }
    friend bool operator==(const JsonMemory&, const JsonMemory&) noexcept { return true; }
};

/// JSON with its keys in order. A value of up to 200 000 values can be destroyed even if memory is refused.
using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, std::int64_t,
                                  std::uint64_t, double, JsonMemory>;

/// Bytes from the heap, or from a store that one thread at a time has if the heap refuses them.
[[nodiscard]] void* TakeSpareMemory(std::size_t bytes);
void ReturnSpareMemory(void* block) noexcept;

} // namespace rasterhost

/// The library's destructor of a value, which may not throw, makes a std::vector of the values in it.
template <>
class std::allocator<rasterhost::Json> { // NOLINT(cert-dcl58-cpp): it depends on a type of this program
public:
    using value_type = rasterhost::Json;

    allocator() = default;
    template <class U>
    // NOLINTNEXTLINE(google-explicit-constructor): as of std::allocator
    explicit(false) allocator(const allocator<U>&) noexcept {}

    [[nodiscard]] value_type* allocate(std::size_t count);
    void deallocate(value_type* block, std::size_t) noexcept { rasterhost::ReturnSpareMemory(block); }
    friend bool operator==(const allocator&, const allocator&) noexcept { return true; }
};

inline rasterhost::Json* std::allocator<rasterhost::Json>::allocate(std::size_t count) {
    if (count > SIZE_MAX / sizeof(value_type)) throw std::bad_array_new_length();
    return static_cast<value_type*>(rasterhost::TakeSpareMemory(count * sizeof(value_type)));
}
