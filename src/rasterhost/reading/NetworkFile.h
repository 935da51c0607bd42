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

/// Inputs on a server that are read by ranges of bytes.
namespace rasterhost {

/// The name by which GDAL reads an address (http, https, s3, gs). Any other name is returned unchanged.
[[nodiscard]] std::string NameForGdal(const std::string& name);

/// True for a name that makes GDAL contact a server.
[[nodiscard]] bool IsOnNetwork(const std::string& name);
/// True for a name of what lies within such a file, as within an archive.
[[nodiscard]] bool IsWithinNetworkFile(const std::string& name);

/// True for a name on object storage (S3 and the like) where an object that GDAL writes appears only when all
/// of it has been sent. Not true for Azure (/vsiaz/), where GDAL appends block after block.
[[nodiscard]] bool IsOnObjectStorage(const std::string& name);

/// Like LookAt, but asks object storage again. `fault` is the reason when it could not be found out whether
/// the object exists, for example because the connection failed; otherwise it is empty. An object without
/// permission counts as missing.
[[nodiscard]] FileState LookAnew(const std::string& name, std::string& fault);

/// Whether a TIFF on a server is read through the fetched bytes (FetchedBytes.h).
enum class ThroughKept { No, Yes };

/// GDALOpenEx for a raster to be read. For a TIFF on a server it looks for a mask and statistics beside it;
/// for further files only if one of these exists or the TIFF has no position of its own, since each name
/// costs a request. The caller closes the dataset.
[[nodiscard]] GDALDataset* OpenRaster(const std::string& name, bool reportsErrors,
                                      ThroughKept throughKept = ThroughKept::No);

/// The files that a raster consists of, as GDAL lists them.
[[nodiscard]] std::vector<std::string> ListFiles(GDALDataset& dataset);

/// Sends to servers at once the requests that opening these files would send one by one. Other files are
/// ignored.
void TouchFiles(const std::vector<std::string>& names);

/// The ranges of the file, of `fileBytes` bytes, with the blocks of a band that a rectangle overlaps: in
/// order, adjacent ranges joined. Blocks that would end beyond the file are left out. Empty for a format that
/// does not tell.
[[nodiscard]] std::vector<ByteRange> FindByteRanges(GDALRasterBand& band, const hostkit::PixelRect& rect,
                                                    std::uint64_t fileBytes);

} // namespace rasterhost
