#pragma once

#include "host/Describe.h"
#include "pansharp/PanSharp.h"

#include <memory>
#include <span>

namespace PXL {

/// A pan-sharpening method: what it says of itself, and how its images are made.
struct Method {
    PansharpMethod description;
    std::unique_ptr<PanSharp8> (*create8)();
    std::unique_ptr<PanSharp16> (*create16)();
};

/// The one table of methods, the default one first. A method is a class and one entry here.
[[nodiscard]] std::span<const Method> Methods();

/// The descriptions alone, in the same order, as a plug-in hands them to its host.
[[nodiscard]] std::span<const PansharpMethod> MethodDescriptions();

} // namespace PXL
