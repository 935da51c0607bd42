#pragma once

#include "capi/FuseJob.h"

namespace capi {

/// Fits what a job leaves open to its images; nothing is read of them where all is known. False with an item.
/// May throw.
[[nodiscard]] bool FitArrays(const FuseJob& job, fitting::DetailFit& fit,
                             KOVA::Tessara::Fundament::Status& status);

} // namespace capi
