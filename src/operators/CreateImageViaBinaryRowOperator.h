#pragma once

#include "operators/ImageViaBinaryRowOperator.h"

#include <memory>
#include <string>

namespace PXL {

/// A new image, not yet initialised. Empties `status` and sets its source to
/// "ImageViaBinaryRowOperator/create". There is only one kind so far: `kind` is ignored.
template <class T>
[[nodiscard]] std::unique_ptr<BinaryRowImage<T>> CreateImageViaBinaryRowOperator(const std::string& kind,
                                                                                 Fundament::Status& status);

} // namespace PXL
