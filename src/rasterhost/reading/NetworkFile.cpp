#include "rasterhost/reading/NetworkFile.h"

#include "fundament/Text.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_error.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <cpl_vsi_error.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <set>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::ToLower;

std::string NameForGdal(const std::string& name) {
    constexpr std::pair<const char*, const char*> schemes[] = {{"http://", "/vsicurl/http://"},
                                                               {"https://", "/vsicurl/https://"},
                                                               {"s3://", "/vsis3/"},
                                                               {"gs://", "/vsigs/"}};
    for (const auto& [scheme, prefix] : schemes)
        if (StartsWith(name, scheme, true)) {
            std::string rest = name.substr(std::string(scheme).size());
            // GDAL does not encode spaces in addresses, except on object storage.
            for (std::size_t at = 0; scheme[0] == 'h' && (at = rest.find(' ', at)) != std::string::npos;)
                rest.replace(at, 1, "%20");
            return prefix + rest;
        }
    return name;
}

bool IsOnObjectStorage(const std::string& name) {
    constexpr const char* prefixes[] = {"/vsis3/", "/vsigs/", "/vsioss/", "/vsiswift/"};
    return std::ranges::any_of(prefixes, [&](const char* prefix) { return StartsWith(name, prefix, false); });
}

bool IsOnNetwork(const std::string& name) {
    return StartsWith(name, "/vsicurl/", false) || StartsWith(name, "/vsicurl?", false) ||
           StartsWith(name, "/vsiaz/", false) || IsOnObjectStorage(name);
}

bool IsWithinNetworkFile(const std::string& name) {
    for (std::size_t at = name.find("/vsi", 1); at != std::string::npos; at = name.find("/vsi", at + 1))
        if (IsOnNetwork(name.substr(at))) return true;
    return false;
}

namespace {

/// Keeps the last message of GDAL about a request, including replies after which it tries again.
void CPL_STDCALL NoteAnswer(CPLErr kind, CPLErrorNum, const char* message) {
    auto& noted = *static_cast<std::string*>(CPLGetErrorHandlerUserData());
    if (kind >= CE_Warning) noted = message && *message ? message : "unknown error";
}

/// True when the storage replied that this user may not read the object: by GDAL's number of the error, or by
/// the code at the end of its message when the reply was not in S3's format.
bool IsRefusal(int number, const std::string& message) {
    constexpr int timedOut = 408, tooMany = 429;
    if (number >= VSIE_AWSAccessDenied && number <= VSIE_AWSSignatureDoesNotMatch) return true;
    const std::size_t last = message.rfind(' ');
    const int code = last == std::string::npos ? 0 : std::atoi(message.c_str() + last);
    return code >= 400 && code < 500 && code != timedOut && code != tooMany;
}

} // namespace

FileState LookAnew(const std::string& name, std::string& fault) {
    fault.clear();
    if (!IsOnObjectStorage(name)) return LookAt(name);
    VSICurlPartialClearCache(name.c_str());
    VSIErrorReset();
    CPLPushErrorHandlerEx(&NoteAnswer, &fault);
    VSILFILE* file = VSIFOpenExL(name.c_str(), "rb", TRUE); // a stat would also list a folder of that name
    CPLPopErrorHandler();
    const int number = VSIGetLastErrorNo();
    const char* last = VSIGetLastErrorMsg(); // only of the final reply
    if (number == VSIE_HttpError && *last) fault = last;
    if (file || IsRefusal(number, fault)) fault.clear();
    if (file) VSIFCloseL(file);
    const GdalErrors silence;
    return LookAt(name);
}

namespace {

bool IsNameOfTiff(const std::string& name) {
    const std::string small = ToLower(name);
    return small.ends_with(".tif") || small.ends_with(".tiff");
}

/// An address without its query, such as a signature.
std::string WithoutQuery(const std::string& name) {
    constexpr const char* withOptions = "/vsicurl?"; // GDAL's options come first, the address last
    const std::size_t from = StartsWith(name, withOptions, false) ? std::strlen(withOptions) : 0;
    return name.substr(0, name.find_first_of("?#", from));
}

} // namespace

GDALDataset* OpenRaster(const std::string& name, bool reportsErrors, ThroughKept throughKept) {
    const unsigned flags = GDAL_OF_RASTER | GDAL_OF_READONLY | (reportsErrors ? GDAL_OF_VERBOSE_ERROR : 0);
    const bool isOnNetwork = IsOnNetwork(name);
    CPLStringList beside; // with only the file itself in the list, GDAL looks for no others
    if (isOnNetwork && IsNameOfTiff(name) && !LookAt(name + ".msk").exists &&
        !LookAt(name + ".aux.xml").exists)
        beside.AddString(name.substr(name.rfind('/') + 1).c_str());
    const bool isKept = isOnNetwork && throughKept == ThroughKept::Yes && IsNameOfTiff(WithoutQuery(name)) &&
                        LookAt(name).exists;
    const std::string opened = isKept ? KeptName(name) : name;
    GDALDatasetUniquePtr dataset(GDALDataset::Open(opened.c_str(), flags, nullptr, nullptr, beside.List()));
    std::array<double, 6> transform{};
    if (dataset && !beside.empty() && dataset->GetGeoTransform(transform.data()) != CE_None)
        dataset.reset(GDALDataset::Open(opened.c_str(), flags)); // a world file may have its position
    return dataset.release();
}

std::vector<std::string> ListFiles(GDALDataset& dataset) {
    const CPLStringList list(dataset.GetFileList());
    std::vector<std::string> files;
    files.reserve(static_cast<std::size_t>(list.size()));
    for (int i = 0; i < list.size(); ++i)
        files.push_back(NameWithoutKept(list[i]));
    return files;
}

void TouchFiles(const std::vector<std::string>& names) {
    std::vector<std::function<void()>> requests;
    for (const std::string& name : std::set(names.begin(), names.end())) {
        if (!IsOnNetwork(name)) continue;
        for (const std::string& each : {name + ".msk", name + ".aux.xml"})
            requests.emplace_back([each] { (void)LookAt(each); });
        requests.emplace_back([name] {
            const std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)> file(VSIFOpenL(name.c_str(), "rb"),
                                                                        &VSIFCloseL);
            char byte = 0;
            if (file) (void)VSIFReadL(&byte, 1, 1, file.get());
        });
    }
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        const GdalErrors silence;
        for (std::size_t i = next++; i < requests.size(); i = next++)
            requests[i]();
    };
    std::vector<std::future<void>> threads;
    try {
        while (threads.size() < std::min<std::size_t>(requests.size(), FetchedBytes::mostRequests))
            threads.push_back(std::async(std::launch::async, work));
    } catch (const std::exception&) {
        // opening will send the requests itself
    }
}

namespace {

/// A number that the file's driver reports for a block; 0 when it does not.
std::uint64_t BlockNumber(GDALRasterBand& band, const char* what, int column, int row) {
    const char* text =
        band.GetMetadataItem(FormatString("BLOCK_%s_%d_%d", what, column, row).c_str(), "TIFF");
    return text ? std::strtoull(text, nullptr, 10) : 0;
}

} // namespace

std::vector<ByteRange> FindByteRanges(GDALRasterBand& band, const hostkit::PixelRect& rect,
                                      std::uint64_t fileBytes) {
    std::vector<ByteRange> ranges;
    int width = 0, height = 0;
    band.GetBlockSize(&width, &height);
    if (width <= 0 || height <= 0 || rect.IsEmpty()) return ranges;
    const auto index = [](std::uint32_t pixel, int size) { return static_cast<int>(pixel) / size; };
    for (int row = index(rect.row0, height); row <= index(rect.row1 - 1, height); ++row)
        for (int column = index(rect.col0, width); column <= index(rect.col1 - 1, width); ++column) {
            const std::uint64_t offset = BlockNumber(band, "OFFSET", column, row);
            const std::uint64_t size = BlockNumber(band, "SIZE", column, row);
            const bool isInFile = offset < fileBytes && size <= fileBytes - offset;
            if (offset != 0 && size != 0 && isInFile) ranges.emplace_back(offset, offset + size);
        }
    std::ranges::sort(ranges);
    std::vector<ByteRange> joined;
    constexpr std::uint64_t gap = 4096; // a COG has a few bytes around each block
    for (const ByteRange& range : ranges)
        if (!joined.empty() && range.first <= joined.back().second + gap)
            joined.back().second = std::max(joined.back().second, range.second);
        else
            joined.push_back(range);
    return joined;
}

} // namespace rasterhost
