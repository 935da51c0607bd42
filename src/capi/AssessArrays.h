#pragma once

#include "capi/FuseJob.h"

namespace capi {

/// Fills in what is found. A result other than PANSHARP_OK comes with an item.
[[nodiscard]] pansharp_result AssessArrays(pansharp_assessment& assessment,
                                           KOVA::Tessara::Fundament::Status& status);

/// The same of an image by the pair of a job that was read as one. May throw.
[[nodiscard]] pansharp_result AssessPairArrays(const FuseJob& job, pansharp_pair_assessment& assessment,
                                               KOVA::Tessara::Fundament::Status& status);

} // namespace capi
