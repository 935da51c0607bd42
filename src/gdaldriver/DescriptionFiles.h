#pragma once

#include <gdal.h>

/// What GDAL does to files of a format: here to descriptions and to what lies beside them and belongs to
/// them, never to the images that they name. Each answers CE_Failure with an error reported.
namespace gdaldriver {

CPLErr DeleteDescription(const char* name);
/// Writes a description again, so that it finds its inputs from its new place. Nothing may be there yet.
CPLErr CopyDescription(const char* newName, const char* oldName);
CPLErr RenameDescription(const char* newName, const char* oldName);

} // namespace gdaldriver
