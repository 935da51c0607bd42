#include "rasterhost/GdalErrors.h"

#include <cpl_error.h>

namespace rasterhost {

namespace {

void CPL_STDCALL Collect(CPLErr kind, CPLErrorNum, const char* message) {
    auto* text = static_cast<std::string*>(CPLGetErrorHandlerUserData());
    if (kind >= CE_Failure && text->empty()) *text = message && *message ? message : "unknown error";
}

} // namespace

GdalErrors::GdalErrors() { CPLPushErrorHandlerEx(&Collect, &text); }
GdalErrors::~GdalErrors() { CPLPopErrorHandler(); }

} // namespace rasterhost
