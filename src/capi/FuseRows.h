#pragma once

#include "capi/FuseJob.h"
#include "hostkit/PluginLibrary.h"

namespace capi {

/// Fuses a window of a job that was read for JobUse::Rows. A result other than PANSHARP_OK comes with an
/// item.
[[nodiscard]] pansharp_result FuseRows(const hostkit::PluginLibrary& plugin, FuseJob& job,
                                       const pansharp_rows* given, KOVA::Tessara::Fundament::Status& status);

} // namespace capi
