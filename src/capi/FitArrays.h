#pragma once

#include "capi/FuseJob.h"
#include "fitting/ShareFit.h"

namespace capi {

/// Fits to the images of a job what the job leaves open; reads nothing where everything is known. False with
/// an item. May throw.
[[nodiscard]] bool FitArrays(const FuseJob& job, fitting::DetailFit& fit,
                             KOVA::Tessara::Fundament::Status& status);

/// Fits the share of each band in pan, the infrared one last, to the images of a job. May throw.
[[nodiscard]] fitting::ShareFit FitWeights(const FuseJob& job);

} // namespace capi
