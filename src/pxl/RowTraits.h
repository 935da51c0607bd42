#pragma once

#include <type_traits>

namespace PXL {

/// Marks rows and buffers on the heap, allocated by the object that uses them.
struct DefaultAllocator {};

/// The pixel type of a row: 8- or 16-bit unsigned samples over their full range.
template <class T, class Allocator>
struct SimpleRowTraits {
    static_assert(std::is_same_v<T, unsigned char> || std::is_same_v<T, unsigned short>,
                  "pixels are 8- or 16-bit unsigned");
    using Pixel = T;
    using Row = T*;
};

template <class T>
using RowTraits = SimpleRowTraits<T, DefaultAllocator>;

} // namespace PXL
