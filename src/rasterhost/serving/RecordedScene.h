#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/serving/SceneRecord.h"

namespace rasterhost {

/// Finds all that a run of this request would find in the pixels, and how its output is going to be: nothing
/// is fused but one row, which shows whether it can be. Takes about as long as `info`. `report` gets what is
/// known without pixels. Without `isToBeKept`, for a record that is used at once, the files are not read as a
/// whole to tell later whether they have changed. False with the reasons in `status`.
[[nodiscard]] bool RecordScene(const SharpenRequest& request, SceneRecord& record, SharpenReport& report,
                               Status& status, bool isToBeKept = true);

/// What comes out of fusing a scene by these rules.
[[nodiscard]] SceneOutput DescribeResult(const Scene& scene, const imagery::OutputRules& rules);

/// Puts what was found when a pair was opened, its shift, scale and depth, in the place of what the request
/// leaves open.
void SettlePair(const Scene& scene, PairRequest& request);

/// The request that a record stands for; the files and the run it says nothing of.
[[nodiscard]] SharpenRequest RequestOf(const SceneRecord& record);

/// Opens the images of a record; reads no pixels. Those that are not what they were make it fail, or warn
/// (FileFingerprint.h). Failed comes with an item.
[[nodiscard]] Preparation PrepareRecorded(const SceneRecord& record, const RunOptions& run, const Warn& warn,
                                          PreparedPair& pair, Status& status);

/// The same, for a run that follows. With `isThorough` slow: compares all inputs with what they were, to the
/// last byte.
[[nodiscard]] bool CheckInputs(const SceneRecord& record, const RunOptions& run, bool isThorough,
                               const Warn& warn, Status& status);

} // namespace rasterhost
