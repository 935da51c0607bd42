#pragma once

#include "capi/FuseJob.h"
#include "hostkit/PluginLibrary.h"

namespace capi {

/// Fuses a job in windows of rows, each thread with a process object of its own. Anything but a success
/// leaves the reasons in `status`; parts of the output may then have been written. May throw.
[[nodiscard]] pansharp_result FuseArrays(const hostkit::PluginLibrary& plugin, FuseJob& job,
                                         KOVA::Tessara::Fundament::Status& status);

} // namespace capi
