#include "rasterhost/requests/GdalErrors.h"

#include <cpl_error.h>

namespace rasterhost {

namespace {

void CPL_STDCALL Collect(CPLErr kind, CPLErrorNum, const char* message) {
    if (kind < CE_Warning) return; // debugging
    static_cast<GdalErrors*>(CPLGetErrorHandlerUserData())->Add(kind >= CE_Failure, message);
}

} // namespace

GdalErrors::GdalErrors() { CPLPushErrorHandlerEx(&Collect, this); }
GdalErrors::~GdalErrors() { CPLPopErrorHandler(); }

void GdalErrors::Add(bool isError, const char* message) {
    std::string& first = isError ? text : warning;
    if (first.empty()) first = message && *message ? message : "unknown error";
}

} // namespace rasterhost
