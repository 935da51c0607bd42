#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"
#include "fundament/Status.h"
#include "rasterhost/assessing/Preflight.h"
#include "rasterhost/scene/BandChoice.h"
#include "rasterhost/serving/SharpenedDataset.h"

#include <cstddef>
#include <memory>

/// What "sharpen" and "info" do, for whoever tells of it: nothing is printed. `progress` and `warn` of the
/// arguments are called as they are of any request; what was chosen is put into the arguments. All throw
/// UsageError.
namespace cli {

struct SharpenRun {
    rasterhost::SharpenReport report;
    KOVA::Tessara::Fundament::Status status;
    ExitCode code = WorkFailed;
    rasterhost::ShownBands shown; ///< by the picture, where there is one
};

/// Fuses or describes a scene, and makes the picture beside it.
void Sharpen(Arguments& request, SharpenRun& run);

struct InfoRun {
    rasterhost::PreflightReport report;
    KOVA::Tessara::Fundament::Status status;
    ExitCode code = WorkFailed;
};

/// Finds what a run would find.
void Inform(Arguments& request, InfoRun& run);

/// The same for a run that writes: what stands in the way of that is a finding, too.
void TryToSharpen(Arguments& request, InfoRun& run);

/// Opens a scene as the image that it stands for, to be read by this many threads at a time. What a pair
/// leaves open is found in its pixels. Null with items.
[[nodiscard]] std::shared_ptr<const rasterhost::SharpenedDataset>
OpenScene(Arguments& request, std::size_t mostReaders, KOVA::Tessara::Fundament::Status& status);

} // namespace cli
