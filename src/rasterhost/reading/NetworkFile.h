#pragma once

#include "hostkit/SampleBlock.h"
#include "rasterhost/reading/FetchedBytes.h"
#include "rasterhost/reading/FileState.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class GDALDataset;
class GDALRasterBand;

/// Inputs that lie on a server and are read by ranges of bytes.
namespace rasterhost {

/// The name by which GDAL reads an address (http, https, s3, gs); any other name is its own.
[[nodiscard]] std::string NameForGdal(const std::string& name);

/// True for a name by which GDAL asks a server.
[[nodiscard]] bool IsOnNetwork(const std::string& name);

/// True for a name on object storage (S3 and the like) where an object that GDAL writes appears when the
/// whole of it has been sent. Azure's (/vsiaz/) is none of these: there GDAL appends block after block.
[[nodiscard]] bool IsOnObjectStorage(const std::string& name);

/// LookAt that asks object storage anew. `fault` is the reason when that did not tell whether the object is
/// there, as when the connection failed; else it is empty. What may not be looked at counts as not there.
[[nodiscard]] FileState LookAnew(const std::string& name, std::string& fault);

/// Whether a TIFF on a server is read through what was fetched (FetchedBytes.h).
enum class ThroughKept { No, Yes };

/// GDALOpenEx of a raster to be read. Beside a TIFF on a server a mask and statistics are looked for, and
/// further files only where one of these is or the TIFF does not tell its place: each name costs an answer of
/// the server. The caller closes it.
[[nodiscard]] GDALDataset* OpenRaster(const std::string& name, bool reportsErrors,
                                      ThroughKept way = ThroughKept::No);

/// The files that a raster consists of, as GDAL lists them.
[[nodiscard]] std::vector<std::string> ListFiles(GDALDataset& dataset);

/// Asks servers at once for what opening these files asks for one by one. Other files are left alone.
void TouchFiles(const std::vector<std::string>& names);

/// Where the blocks of a band that a rectangle touches lie in its file of `fileBytes` bytes, in order,
/// neighbours joined. Blocks that would end beyond the file are left out. Empty for a format that does not
/// tell.
[[nodiscard]] std::vector<ByteRange> FindByteRanges(GDALRasterBand& band, const hostkit::PixelRect& rect,
                                                    std::uint64_t fileBytes);

} // namespace rasterhost
