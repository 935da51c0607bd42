#pragma once

#include "capi/FuseJob.h"
#include "fitting/ShareFit.h"
#include "fitting/ShiftFit.h"

#include <optional>

namespace capi {

/// Fits to the images of a job what the job leaves open; reads nothing where everything is known. False with
/// an item. May throw.
[[nodiscard]] bool FitArrays(const FuseJob& job, fitting::DetailFit& fit,
                             KOVA::Tessara::Fundament::Status& status);

/// Fits the share of each band in pan, the infrared one last, to the images of a job. May throw.
[[nodiscard]] fitting::ShareFit FitWeights(const FuseJob& job);

/// How far the content of a job's multispectral image is displaced; none where nothing tells it. False with
/// an item. May throw.
[[nodiscard]] bool FitShift(const FuseJob& job, std::optional<fitting::Shift>& shift,
                            KOVA::Tessara::Fundament::Status& status);

} // namespace capi
