#pragma once

#include "operators/ImageViaBinaryRowOperator.h"

#include <memory>
#include <string>

namespace PXL {

/// A new image, not yet initialised. Empties `status`, whose source becomes
/// "ImageViaBinaryRowOperator/create". There is one kind so far: `kind` is not consulted.
template <class T>
[[nodiscard]] std::unique_ptr<BinaryRowImage<T>> CreateImageViaBinaryRowOperator(const std::string& kind,
                                                                                 Fundament::Status& status);

} // namespace PXL
