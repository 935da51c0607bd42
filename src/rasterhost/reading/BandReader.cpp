#include "rasterhost/reading/BandReader.h"

#include "fundament/Text.h"
#include "imagery/NoDataValue.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/MaskTiff.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/reading/PlainTiff.h"
#include "rasterhost/requests/GdalErrors.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;

namespace {

bool FailToRead(const PixelRect& rect, const char* what, const SourceBand& source, GDALRasterBand& band,
                const GdalErrors& errors, Status& status) {
    std::string bytes;
    const bool isRemote = IsOnNetwork(source.file) || IsWithinNetworkFile(source.file);
    if (const auto ranges =
            isRemote ? FindByteRanges(band, rect, LookAt(source.file).bytes) : std::vector<ByteRange>();
        !ranges.empty())
        bytes = FormatString(" (bytes %llu to %llu)", static_cast<unsigned long long>(ranges.front().first),
                             static_cast<unsigned long long>(ranges.back().second - 1));
    return Fail(status, HostStatus::InputNotRead, "rows %u to %u of %s'%s'%s cannot be read; %s%s", rect.row0,
                rect.row1, what, source.file.c_str(), bytes.c_str(),
                errors.Suspect(isRemote ? "the server or the connection failed, or the file is damaged"
                                        : "the file may be cut short or damaged"),
                errors.Reason().c_str());
}

} // namespace

bool BandReader::Read(const PixelRect& rect, unsigned char* out, Status& status) const {
    if (options.scale) {
        for (std::size_t band = 0; band < bands.size(); ++band)
            if (!ReadScaled(rect, band, out, status)) return false;
        return true;
    }
    // One call for consecutive bands that come from one file and have the same sample type.
    for (std::size_t first = 0, end = 0; first < bands.size(); first = end) {
        const auto belongs = [&](std::size_t band) {
            return handles[band].dataset == handles[first].dataset && bands[band].type == bands[first].type;
        };
        for (end = first; end < bands.size() && belongs(end);)
            ++end;
        if (!ReadBands(rect, first, end, out, status)) return false;
        if (bands[first].type == GDT_Int16 && !CheckSigns(rect, first, end, out, status)) return false;
    }
    return true;
}

bool BandReader::ReadBands(const PixelRect& rect, std::size_t first, std::size_t end, unsigned char* out,
                           Status& status) const {
    const auto columns = static_cast<int>(rect.GetColumns());
    const auto rows = static_cast<int>(rect.GetRows());
    const auto sampleBytes = static_cast<GSpacing>(bits / 8);
    const auto pixelBytes = static_cast<GSpacing>(bands.size()) * sampleBytes;
    std::vector<int> numbers;
    for (std::size_t band = first; band < end; ++band)
        numbers.push_back(bands[band].number);
    PlainTiff* plain = handles[first].plain;
    if (plain && plain->GetPixelBytes() == bands.size() * bits / 8) {
        std::vector<int> all(plain->GetBands());
        std::iota(all.begin(), all.end(), 1);
        if (numbers == all && plain->Read(rect, out)) return true;
    }
    const GdalErrors errors;
    CPLErr result = CE_None;
    if (GDALDataset* dataset = handles[first].dataset)
        result = dataset->RasterIO(GF_Read, static_cast<int>(rect.col0), static_cast<int>(rect.row0), columns,
                                   rows, out + static_cast<GSpacing>(first) * sampleBytes, columns, rows,
                                   bands[first].type, static_cast<int>(numbers.size()), numbers.data(),
                                   pixelBytes, pixelBytes * columns, sampleBytes, nullptr);
    else
        for (std::size_t band = first; band < end && result == CE_None; ++band)
            result = handles[band].band->RasterIO(
                GF_Read, static_cast<int>(rect.col0), static_cast<int>(rect.row0), columns, rows,
                out + static_cast<GSpacing>(band) * sampleBytes, columns, rows, bands[first].type, pixelBytes,
                pixelBytes * columns, nullptr);
    return (result == CE_None && !errors.HasFailed()) ||
           FailToRead(rect, "", bands[first], *handles[first].band, errors, status);
}

bool BandReader::ReadScaled(const PixelRect& rect, std::size_t band, unsigned char* out,
                            Status& status) const {
    const SourceBand& source = bands[band];
    const auto columns = static_cast<int>(rect.GetColumns());
    const auto rows = static_cast<int>(rect.GetRows());
    std::vector<double> samples(std::size_t{rect.GetColumns()} * rect.GetRows());
    const GdalErrors errors;
    if (handles[band].band->RasterIO(GF_Read, static_cast<int>(rect.col0), static_cast<int>(rect.row0),
                                     columns, rows, samples.data(), columns, rows, GDT_Float64, 0, 0,
                                     nullptr) != CE_None ||
        errors.HasFailed())
        return FailToRead(rect, "", source, *handles[band].band, errors, status);
    auto* pixel = reinterpret_cast<unsigned short*>(out) + band;
    const unsigned short none = options.isIgnored ? 1 : 0;
    for (const double sample : samples) {
        const bool hasData = std::isfinite(sample) && sample != source.rawNoData;
        *pixel = hasData ? options.scale->Map(sample) : none;
        pixel += bands.size();
    }
    return true;
}

/// Signed samples are used unchanged, which requires that they are not negative. Samples that mean no data
/// are exempt.
bool BandReader::CheckSigns(const PixelRect& rect, std::size_t first, std::size_t end,
                            const unsigned char* samples, Status& status) const {
    const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
    const auto* pixel = reinterpret_cast<const short*>(samples);
    for (std::size_t i = 0; i < pixels; ++i, pixel += bands.size())
        for (std::size_t band = first; band < end; ++band)
            if (pixel[band] < 0 && bands[band].noData != pixel[band])
                return Fail(status, HostStatus::InputNotSupported,
                            "band %d of '%s' holds the negative sample %d; samples must be 0 or more: name "
                            "it with --nodata if it means no data, or convert the "
                            "file with gdal_translate -ot UInt16 -scale",
                            bands[band].number, bands[band].file.c_str(), int{pixel[band]});
    return true;
}

namespace {

/// Clears the bytes of pixels that have no data by their samples, a part at a time that stays in the
/// processor's cache. Without `isMasked` it first sets all.
template <class T>
void ClearNoData(const T* samples, const std::vector<SourceBand>& bands, std::size_t pixels, bool isMasked,
                 unsigned char* valid) {
    std::vector<std::optional<T>> values(bands.size());
    std::transform(bands.begin(), bands.end(), values.begin(), [](const SourceBand& band) {
        return band.noData ? std::optional<T>(static_cast<T>(*band.noData)) : std::nullopt;
    });
    constexpr std::size_t mostAtOnce = 16384;
    for (std::size_t first = 0; first < pixels; first += mostAtOnce) {
        const std::size_t count = std::min(mostAtOnce, pixels - first);
        const auto find = isMasked ? &imagery::ClearValues<T> : &imagery::FindValues<T>;
        find(samples + first * bands.size(), values, count, valid + first);
    }
}

/// Clears the bytes of pixels that another mask leaves out.
void ClearMasked(const unsigned char* mask, std::size_t pixels, unsigned char* valid) {
    std::transform(mask, mask + pixels, valid, valid, [](unsigned char has, unsigned char other) {
        return has == 0 ? static_cast<unsigned char>(0) : other;
    });
}

} // namespace

/// Reads the mask of a band: 0 without data, else 0xFF.
bool BandReader::ReadMask(const PixelRect& rect, std::size_t band, unsigned char* out, Status& status) const {
    if (MaskTiff* plain = handles[band].plainMask; plain && plain->Read(rect, out)) return true;
    GDALRasterBand& mask = *handles[band].mask;
    const GdalErrors errors;
    const auto columns = static_cast<int>(rect.GetColumns());
    const auto rows = static_cast<int>(rect.GetRows());
    if (mask.RasterIO(GF_Read, static_cast<int>(rect.col0), static_cast<int>(rect.row0), columns, rows, out,
                      columns, rows, GDT_Byte, 0, 0, nullptr) != CE_None ||
        errors.HasFailed())
        return FailToRead(rect, "the mask of ", bands[band], mask, errors, status);
    std::transform(out, out + std::size_t{rect.GetColumns()} * rect.GetRows(), out, [](unsigned char has) {
        return has == 0 ? static_cast<unsigned char>(0) : static_cast<unsigned char>(0xFF);
    });
    return true;
}

bool BandReader::ReadValid(const PixelRect& rect, const unsigned char* samples, unsigned char* valid,
                           Status& status) const {
    const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
    std::map<GDALRasterBand*, std::size_t> masks; // and the first band of each
    for (std::size_t band = 0; band < bands.size(); ++band)
        if (handles[band].mask) masks.emplace(handles[band].mask, band);
    // The first is read in place.
    std::vector<unsigned char> other(masks.size() > 1 ? pixels : 0);
    unsigned char* mask = valid;
    for (const auto& [handle, band] : masks) {
        if (!ReadMask(rect, band, mask, status)) return false;
        if (mask != valid) ClearMasked(mask, pixels, valid);
        mask = other.data();
    }
    if (bits == 8)
        ClearNoData(samples, bands, pixels, !masks.empty(), valid);
    else
        ClearNoData(reinterpret_cast<const unsigned short*>(samples), bands, pixels, !masks.empty(), valid);
    return true;
}

} // namespace rasterhost
