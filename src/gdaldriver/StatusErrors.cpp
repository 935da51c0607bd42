#include "gdaldriver/StatusErrors.h"

#include "rasterhost/requests/Operation.h"

#include <cpl_error.h>

#include <new>
#include <string>

namespace gdaldriver {

CPLErr RefuseChange() {
    CPLError(
        CE_Failure, CPLE_NotSupported,
        "position, no data, mask and colours of a described scene cannot be changed; describe it again, or "
        "write its pixels and change those");
    return CE_Failure;
}

void ReportErrors(const rasterhost::Status& status) try {
    std::string text;
    for (std::uint32_t i = 0; i < status.GetCount(); ++i)
        if (const std::string& message = status.GetItem(i).message; !message.empty())
            text += (text.empty() ? "" : "; ") + message;
    CPLError(CE_Failure, CPLE_AppDefined, "%s",
             text.empty() ? "the work failed, and no reason was given" : text.c_str());
} catch (const std::bad_alloc&) {
    CPLError(CE_Failure, CPLE_OutOfMemory, "there is too little memory to say why the work failed");
}

bool RunReporting(const std::function<bool(rasterhost::Status&)>& work) {
    rasterhost::Status status;
    const bool isDone = rasterhost::Guard([&] { return work(status); }, status);
    if (!isDone) ReportErrors(status);
    return isDone;
}

} // namespace gdaldriver
