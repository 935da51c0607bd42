#pragma once

#include "pansharp/PanSharp.h"

#include <memory>

namespace PXL {

/// A new image of the method with a keyword (pansharp/Methods.h), in any letter case. An empty text means the
/// first method, "KOVA". Null for any other text, with the item 0x3902 at the front of `status`.
template <class T>
[[nodiscard]] std::unique_ptr<PanSharpImage<T>> CreatePanSharpImage(const std::string& keyword,
                                                                    Fundament::Status& status);

} // namespace PXL
