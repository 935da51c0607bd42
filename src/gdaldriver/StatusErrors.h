#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <cpl_error.h>

#include <functional>

namespace gdaldriver {

/// Reports that a description says what a scene is, and that it cannot be said otherwise beside it.
CPLErr RefuseChange();

/// Reports what a status holds, the reasons behind the first item too, as one error of GDAL's.
void ReportErrors(const rasterhost::Status& status);

/// Runs what is to fail by GDAL's ways only: false with an error reported, whatever it throws.
[[nodiscard]] bool RunReporting(const std::function<bool(rasterhost::Status&)>& work);
/// The same for what else can be called, which is not copied: that could throw here.
template <class Work>
[[nodiscard]] bool RunReporting(const Work& work) {
    return RunReporting(std::function<bool(rasterhost::Status&)>(std::cref(work)));
}

} // namespace gdaldriver
