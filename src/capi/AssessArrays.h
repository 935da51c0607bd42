#pragma once

#include "capi/pansharp.h"
#include "fundament/Status.h"

namespace capi {

/// Fills in what is found. A result other than PANSHARP_OK comes with an item.
[[nodiscard]] pansharp_result AssessArrays(pansharp_assessment& assessment,
                                           KOVA::Tessara::Fundament::Status& status);

} // namespace capi
