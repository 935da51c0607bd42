#pragma once

#include <gdal.h>

/// What GDAL does to files of a format. Here it applies to descriptions and to the files beside them that
/// belong to them, never to the images that they name. Each function returns CE_Failure with an error
/// reported.
namespace gdaldriver {

CPLErr DeleteDescription(const char* name);
/// Writes a copy of a description that finds its inputs from its new place. No file may have the new name
/// yet.
CPLErr CopyDescription(const char* newName, const char* oldName);
CPLErr RenameDescription(const char* newName, const char* oldName);

} // namespace gdaldriver
