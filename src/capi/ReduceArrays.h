#pragma once

#include "capi/FuseJob.h"

namespace capi {

/// Makes the pair of a job coarser, or finds the sizes that it would have. May throw.
[[nodiscard]] pansharp_result ReduceArrays(FuseJob& job, pansharp_reduction& reduction,
                                           KOVA::Tessara::Fundament::Status& status);

} // namespace capi
