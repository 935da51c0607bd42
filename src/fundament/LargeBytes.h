#pragma once

#include <cstddef>
#include <vector>

namespace KOVA::Tessara::Fundament {

/// Of most processors. One is there whole once a byte of it is touched.
inline constexpr std::size_t largePage = std::size_t{2} << 20;

/// Uninitialized memory. From the size of a large page on, the system is asked to back it with large pages,
/// where it has them: touching it for the first time and giving it back then take a fraction of the time.
/// Throws std::bad_alloc.
[[nodiscard]] void* AllocateLarge(std::size_t bytes);
/// Gives back memory of AllocateLarge, of the same number of bytes.
void FreeLarge(void* memory, std::size_t bytes) noexcept;

/// Lets a container use these.
template <class T>
struct LargeAllocator {
    using value_type = T;

    LargeAllocator() = default;
    template <class Other>
    explicit LargeAllocator(const LargeAllocator<Other>&) noexcept {}

    [[nodiscard]] T* allocate(std::size_t count) { return static_cast<T*>(AllocateLarge(count * sizeof(T))); }
    void deallocate(T* memory, std::size_t count) noexcept { FreeLarge(memory, count * sizeof(T)); }
    bool operator==(const LargeAllocator&) const = default;
};

/// A buffer that usually has some MB. At -Og (pansharp_compile_quickly) gcc's destructor counts through all
/// bytes. So owners define theirs in a source file that is optimised.
using LargeBytes = std::vector<unsigned char, LargeAllocator<unsigned char>>;

} // namespace KOVA::Tessara::Fundament
