#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"
#include "fundament/Status.h"
#include "rasterhost/assessing/Preflight.h"
#include "rasterhost/scene/BandChoice.h"
#include "rasterhost/serving/SharpenedDataset.h"

#include <cstddef>
#include <memory>

/// The work of "sharpen" and "info" without any output: callers report. `progress` and `warn` of the
/// arguments are called as for any request; what was chosen is stored in the arguments. All functions throw
/// UsageError.
namespace cli {

struct SharpenRun {
    rasterhost::SharpenReport report;
    KOVA::Tessara::Fundament::Status status;
    ExitCode code = WorkFailed;
    rasterhost::ShownBands shown; ///< the bands in the picture, if there is one
};

/// Fuses or describes a scene, and makes its preview.
void Sharpen(Arguments& request, SharpenRun& run);

struct InfoRun {
    rasterhost::PreflightReport report;
    KOVA::Tessara::Fundament::Status status;
    ExitCode code = WorkFailed;
};

/// Finds what a run would find.
void Inform(Arguments& request, InfoRun& run);

/// The same for a run that writes: an obstacle to writing is reported as well.
void TryToSharpen(Arguments& request, InfoRun& run);

/// Opens a scene as an image that `mostReaders` threads may read at a time. What the pair leaves open is
/// fitted to its pixels. Null with items.
[[nodiscard]] std::shared_ptr<const rasterhost::SharpenedDataset>
OpenScene(Arguments& request, std::size_t mostReaders, KOVA::Tessara::Fundament::Status& status);

} // namespace cli
