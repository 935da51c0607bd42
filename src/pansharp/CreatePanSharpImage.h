#pragma once

#include "pansharp/PanSharp.h"

#include <memory>

namespace PXL {

/// A new image of the method that the keyword names (pansharp/Methods.h), in any letter case; the empty text
/// stands for the first, "KOVA". Null for any other text, with the item 0x3902 first in `status`.
template <class T>
[[nodiscard]] std::unique_ptr<PanSharpImage<T>> CreatePanSharpImage(const std::string& keyword,
                                                                    Fundament::Status& status);

} // namespace PXL
