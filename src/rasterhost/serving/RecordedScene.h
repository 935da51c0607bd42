#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/serving/SceneRecord.h"

namespace rasterhost {

/// Finds all that a run of this request would find in the pixels, and the form of its output. Only one row is
/// fused, to see whether the scene can be. Takes about as long as `info`. `report` gets what is known without
/// pixels. Without `isToBeKept`, for a record that is used at once, the files are not read completely for
/// their fingerprints. False, with the reasons in `status`.
[[nodiscard]] bool RecordScene(const SharpenRequest& request, SceneRecord& record, SharpenReport& report,
                               Status& status, bool isToBeKept = true);

/// The form of the result of fusing a scene by these rules.
[[nodiscard]] SceneOutput DescribeResult(const Scene& scene, const imagery::OutputRules& rules);

/// Stores in the request what was found when the pair was opened: shift, scale and depth.
void SettlePair(const Scene& scene, PairRequest& request);

/// The request that a record stands for. It says nothing of output files and the run.
[[nodiscard]] SharpenRequest RequestOf(const SceneRecord& record);

/// Opens the images of a record; reads no pixels. An image that has changed causes a failure or a warning
/// (FileFingerprint.h). Failed comes with an item.
[[nodiscard]] Preparation PrepareRecorded(const SceneRecord& record, const RunOptions& run, const Warn& warn,
                                          PreparedPair& pair, Status& status);

/// The same check, for a run that follows. With `isThorough` it is slow: it compares all inputs to the last
/// byte.
[[nodiscard]] bool CheckInputs(const SceneRecord& record, const RunOptions& run, bool isThorough,
                               const Warn& warn, Status& status);

} // namespace rasterhost
