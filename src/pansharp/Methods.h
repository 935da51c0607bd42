#pragma once

#include "host/Describe.h"
#include "pansharp/PanSharp.h"

#include <memory>
#include <span>

namespace PXL {

/// A pan-sharpening method: its description of itself, how its images are made, and its row kernels.
struct Method {
    PansharpMethod description;
    std::unique_ptr<PanSharp8> (*create8)();
    std::unique_ptr<PanSharp16> (*create16)();
    kernels::FuseRow<unsigned char> (*row8)(kernels::SimdTarget);
    kernels::FuseRow<unsigned short> (*row16)(kernels::SimdTarget);

    template <class T>
    [[nodiscard]] std::unique_ptr<PanSharpImage<T>> Create() const {
        if constexpr (sizeof(T) == 1)
            return create8();
        else
            return create16();
    }
    template <class T>
    [[nodiscard]] kernels::FuseRow<T> RowFor(kernels::SimdTarget target) const {
        if constexpr (sizeof(T) == 1)
            return row8(target);
        else
            return row16(target);
    }
};

/// The table of all methods, the default one first. A method is a class and one entry here.
[[nodiscard]] std::span<const Method> Methods();

/// Only the descriptions, in the same order, as a plug-in gives them to its host.
[[nodiscard]] std::span<const PansharpMethod> MethodDescriptions();

} // namespace PXL
