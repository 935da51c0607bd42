#pragma once

#include "operators/BlendPixels.h"

#include <memory>
#include <string>
#include <vector>

namespace PXL {

/// A new operator, not yet initialised, of the kind that the keyword names in any letter case; its metadata
/// holds the keyword as "method". Every call inserts an empty item with id 0 into `status`; without a keyword
/// or for one that names nothing the result is null, with the item 0x4F01 or 0x4F02 before that one.
template <class T>
[[nodiscard]] std::unique_ptr<BlendPixels<T>> CreateBlendPixels(const std::string& keyword,
                                                                Fundament::Status& status);

/// All keywords; two of them may name one operator.
[[nodiscard]] std::vector<std::string> BlendKeywords();

} // namespace PXL
