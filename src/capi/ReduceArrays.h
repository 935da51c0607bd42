#pragma once

#include "capi/FuseJob.h"

namespace capi {

/// Degrades the pair of a job by its ratio, or finds the sizes that it would have. May throw.
[[nodiscard]] pansharp_result ReduceArrays(FuseJob& job, pansharp_reduction& reduction,
                                           KOVA::Tessara::Fundament::Status& status);

} // namespace capi
