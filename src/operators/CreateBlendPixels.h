#pragma once

#include "operators/BlendPixels.h"

#include <memory>
#include <string>
#include <vector>

namespace PXL {

/// A new operator, not yet initialised, for a keyword in any letter case. Its metadata holds the keyword as
/// "method". Every call inserts an empty item with id 0 into `status`. Without a keyword the result is null,
/// with the item 0x4F01 before that one; for an unknown keyword with 0x4F02.
template <class T>
[[nodiscard]] std::unique_ptr<BlendPixels<T>> CreateBlendPixels(const std::string& keyword,
                                                                Fundament::Status& status);

/// All keywords. Two of them may stand for the same operator.
[[nodiscard]] std::vector<std::string> BlendKeywords();

} // namespace PXL
