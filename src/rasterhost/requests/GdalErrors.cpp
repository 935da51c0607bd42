#include "rasterhost/requests/GdalErrors.h"

#include <cpl_error.h>

#include <cstring>

namespace rasterhost {

namespace {

void CPL_STDCALL Collect(CPLErr kind, CPLErrorNum number, const char* message) {
    if (kind < CE_Warning) return; // debug message
    static_cast<GdalErrors*>(CPLGetErrorHandlerUserData())
        ->Add(kind >= CE_Failure, number == CPLE_OutOfMemory, message);
}

} // namespace

GdalErrors::GdalErrors() { CPLPushErrorHandlerEx(&Collect, this); }
GdalErrors::~GdalErrors() { CPLPopErrorHandler(); }

void GdalErrors::Add(bool isError, bool isOfMemory, const char* message) {
    lacksMemory = lacksMemory || (isError && isOfMemory);
    std::string& first = isError ? text : warning;
    if (!first.empty()) return;
    first = message && *message ? message : "unknown error";
    for (std::size_t at = 0; (at = first.find(keptPrefix, at)) != std::string::npos;)
        first.erase(at, std::strlen(keptPrefix));
}

const char* GdalErrors::Suspect(const char* otherwise) const {
    return lacksMemory ? "there is not enough memory: end other programs, or cut the inputs with "
                         "gdal_translate -projwin"
                       : otherwise;
}

} // namespace rasterhost
