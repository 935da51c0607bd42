#pragma once

#include "capi/FuseJob.h"
#include "hostkit/PluginLibrary.h"

namespace capi {

/// Fuses a job in windows of rows; each thread has a process object of its own. On any other result than
/// PANSHARP_OK, `status` has the reasons and parts of the output may have been written. May throw.
[[nodiscard]] pansharp_result FuseArrays(const hostkit::PluginLibrary& plugin, FuseJob& job,
                                         KOVA::Tessara::Fundament::Status& status);

} // namespace capi
