#pragma once

#include "capi/FuseJob.h"

namespace capi {

/// Fits to the images of a job what the job leaves open; reads nothing where everything is known. False with
/// an item. May throw.
[[nodiscard]] bool FitArrays(const FuseJob& job, fitting::DetailFit& fit,
                             KOVA::Tessara::Fundament::Status& status);

} // namespace capi
