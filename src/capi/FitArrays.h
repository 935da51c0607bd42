#pragma once

#include "capi/FuseJob.h"
#include "fitting/ShareFit.h"
#include "fitting/ShiftFit.h"

#include <optional>

namespace capi {

/// Fits to the images of a job what the job leaves open. Reads no image when everything is known. False with
/// an item. May throw.
[[nodiscard]] bool FitArrays(const FuseJob& job, fitting::DetailFit& fit,
                             KOVA::Tessara::Fundament::Status& status);

/// Fits the share of each band in pan to the images of a job; the infrared band comes last. May throw.
[[nodiscard]] fitting::ShareFit FitWeights(const FuseJob& job);

/// Measures how far the content of a job's multispectral image is displaced; empty when the images do not
/// show it. False with an item. May throw.
[[nodiscard]] bool FitShift(const FuseJob& job, std::optional<fitting::Shift>& shift,
                            KOVA::Tessara::Fundament::Status& status);

} // namespace capi
