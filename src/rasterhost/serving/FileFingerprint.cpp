#include "rasterhost/serving/FileFingerprint.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/ImageDescription.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/GdalErrors.h"
#include "rasterhost/requests/Operation.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;

namespace {

/// The files of an input, without those that may come and go without changing a pixel.
std::vector<std::string> FilesOfInput(const std::string& name, GDALDataset& dataset) {
    std::vector<std::string> files = ListFiles(dataset);
    std::erase_if(
        files, [](const std::string& file) { return file.ends_with(".ovr") || file.ends_with(".aux.xml"); });
    if (files.empty() && LookAt(name).isFile) files.push_back(name);
    return files;
}

/// As precise as the file system stores it; whole seconds for files that only GDAL can see.
long long TimeOfWriting(const std::string& file, const VSIStatBufL& state) {
    std::error_code failure;
    const auto time = std::filesystem::last_write_time(file, failure);
    return failure ? state.st_mtime : static_cast<long long>(time.time_since_epoch().count());
}

/// False when it cannot be read completely.
bool AddFile(const std::string& file, ContentNumber& number) {
    VSILFILE* stream = VSIFOpenL(file.c_str(), "rb");
    if (!stream) return false;
    std::vector<unsigned char> block(std::size_t{1} << 20);
    std::size_t count = block.size();
    while (count == block.size()) {
        count = VSIFReadL(block.data(), 1, block.size(), stream);
        number.Add(block.data(), count);
    }
    const bool isRead = VSIFEofL(stream) != 0;
    return VSIFCloseL(stream) == 0 && isRead;
}

std::string FindContent(const std::vector<std::string>& files) {
    const bool areFiles = std::all_of(files.begin(), files.end(), [](const std::string& file) {
        return !StartsWith(file, "/vsi", false) && LookAt(file).isFile;
    });
    ContentNumber number;
    const bool isRead = areFiles && std::all_of(files.begin(), files.end(), [&](const std::string& file) {
                            return AddFile(file, number);
                        });
    return isRead && !files.empty() ? number.GetDigits() : std::string();
}

std::string TypesOf(GDALDataset& dataset) {
    std::string types, first;
    bool differ = false;
    for (int number = 1; number <= dataset.GetRasterCount(); ++number) {
        const std::string type = GDALGetDataTypeName(dataset.GetRasterBand(number)->GetRasterDataType());
        types += (types.empty() ? "" : ",") + type;
        if (number == 1) first = type;
        differ = differ || type != first;
    }
    return differ ? types : first;
}

/// A difference in the last digits of the georeferencing is not a change.
bool IsSameGrid(const FileFingerprint& a, const FileFingerprint& b) {
    if (a.geoTransform.has_value() != b.geoTransform.has_value() || a.controlPoints != b.controlPoints)
        return false;
    for (std::size_t i = 0; a.geoTransform && i < a.geoTransform->size(); ++i)
        if (!(std::fabs((*a.geoTransform)[i] - (*b.geoTransform)[i]) <=
              1e-6 * std::hypot((*a.geoTransform)[1], (*a.geoTransform)[4])))
            return false;
    if (a.projection == b.projection) return true;
    if (a.projection.empty() || b.projection.empty()) return false;
    OGRSpatialReference first, second;
    const GdalErrors silence;
    return first.importFromWkt(a.projection.c_str()) == OGRERR_NONE &&
           second.importFromWkt(b.projection.c_str()) == OGRERR_NONE && IsSameProjection(first, second);
}

} // namespace

std::string ToWkt(const OGRSpatialReference* reference) {
    if (!reference || reference->IsEmpty()) return {};
    const GdalErrors silence;
    char* text = nullptr;
    const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
    std::string wkt;
    if (reference->exportToWkt(&text, options) == OGRERR_NONE && text) wkt = text;
    CPLFree(text);
    return wkt;
}

void ContentNumber::AddWord(std::uint64_t word) {
    number = (number ^ word) * 0x100000001B3u;
    number ^= number >> 32;
}

void ContentNumber::Add(const unsigned char* bytes, std::size_t count) {
    std::size_t at = 0;
    for (; at + 8 <= count; at += 8) {
        std::uint64_t word = 0;
        for (unsigned i = 0; i < 8; ++i)
            word |= std::uint64_t{bytes[at + i]} << (8 * i);
        AddWord(word);
    }
    std::uint64_t last = 0;
    for (unsigned i = 0; at + i < count; ++i)
        last |= std::uint64_t{bytes[at + i]} << (8 * i);
    AddWord(last);
    AddWord(count);
}

std::string ContentNumber::GetDigits() const {
    return FormatString("%016llx", static_cast<unsigned long long>(number));
}

FileFingerprint TakeFingerprint(const std::string& name, GDALDataset& dataset, bool withContent) {
    const GdalErrors silence;
    FileFingerprint now;
    now.name = name;
    now.columns = static_cast<std::uint32_t>(dataset.GetRasterXSize());
    now.rows = static_cast<std::uint32_t>(dataset.GetRasterYSize());
    now.bands = static_cast<std::uint32_t>(dataset.GetRasterCount());
    now.type = TypesOf(dataset);
    std::array<double, 6> transform{};
    if (dataset.GetGeoTransform(transform.data()) == CE_None) now.geoTransform = transform;
    now.controlPoints = static_cast<std::uint32_t>(dataset.GetGCPCount());
    const OGRSpatialReference* reference =
        now.controlPoints > 0 && !now.geoTransform ? dataset.GetGCPSpatialRef() : dataset.GetSpatialRef();
    now.projection = ToWkt(reference);
    const std::vector<std::string> files = FilesOfInput(name, dataset);
    for (const std::string& file : files)
        if (VSIStatBufL state; VSIStatL(file.c_str(), &state) == 0)
            now.bytes += static_cast<std::uint64_t>(state.st_size);
    if (withContent) now.content = FindContent(files);
    return now;
}

std::string TakeState(const std::vector<std::string>& names) {
    RegisterDrivers();
    const GdalErrors silence;
    ContentNumber number;
    const auto addText = [&number](const std::string& text) {
        number.Add(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    };
    for (const std::string& name : names) {
        const GDALDatasetUniquePtr dataset(LookAt(name).isFile ? OpenRaster(name, false) : nullptr);
        for (const std::string& file : dataset ? FilesOfInput(name, *dataset) : std::vector{name}) {
            VSIStatBufL state{};
            const bool isThere = VSIStatL(file.c_str(), &state) == 0;
            addText(file);
            addText(FormatString("%d %lld %lld", isThere, static_cast<long long>(state.st_size),
                                 TimeOfWriting(file, state)));
        }
    }
    return number.GetDigits();
}

bool CheckFingerprint(const FileFingerprint& before, const FileFingerprint& now, const std::string& key,
                      const Warn& warn, Status& status) {
    const auto refuse = [&](const char* part, const std::string& was, const std::string& is) {
        return Fail(status, HostStatus::InputsDoNotFit,
                    "'%s' is another image than when the scene was described: %s.%s was %s and "
                    "is %s; describe the scene again",
                    now.name.c_str(), key.c_str(), part, was.c_str(), is.c_str());
    };
    const auto same = [&](const char* part, std::uint32_t was, std::uint32_t is) {
        return was == is || refuse(part, FormatString("%u", was), FormatString("%u", is));
    };
    if (!same("columns", before.columns, now.columns) || !same("rows", before.rows, now.rows) ||
        !same("bands", before.bands, now.bands))
        return false;
    if (before.type != now.type) return refuse("type", before.type, now.type);
    if (!IsSameGrid(before, now)) return refuse("grid", "another place or projection", "not the same");
    if (before.bytes != now.bytes)
        warn(FormatString("'%s' has %llu bytes and had %llu when the scene was described; if its pixels have "
                          "changed, describe the scene again",
                          now.name.c_str(), static_cast<unsigned long long>(now.bytes),
                          static_cast<unsigned long long>(before.bytes)));
    else if (!now.content.empty() && !before.content.empty() && now.content != before.content)
        warn(FormatString("the content of '%s' is not what it was when the scene was described; if its "
                          "pixels have changed, describe the scene again",
                          now.name.c_str()));
    return true;
}

} // namespace rasterhost
