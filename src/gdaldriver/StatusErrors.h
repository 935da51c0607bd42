#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <cpl_error.h>

#include <functional>

namespace gdaldriver {

/// Reports that a scene is defined by its description and that its properties cannot be changed separately.
CPLErr RefuseChange();

/// Reports the items of a status, including the reasons after the first, as one GDAL error.
void ReportErrors(const rasterhost::Status& status);

/// Runs `work` so that every failure, also an exception, becomes false with a GDAL error.
[[nodiscard]] bool RunReporting(const std::function<bool(rasterhost::Status&)>& work);
/// The same for other callables, which are not copied: copying could throw.
template <class Work>
[[nodiscard]] bool RunReporting(const Work& work) {
    return RunReporting(std::function<bool(rasterhost::Status&)>(std::cref(work)));
}

} // namespace gdaldriver
