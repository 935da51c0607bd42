#include "rasterhost/writing/OutputDescription.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "rasterhost/reading/BandNames.h"

#include <cpl_time.h>
#include <gdal_priv.h>
#include <ogr_core.h>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace rasterhost {

using imagery::OutputRules;

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;

std::vector<GDALColorInterp> ColoursOf(const Scene& scene, std::size_t bands) {
    std::vector<GDALColorInterp> colours(bands, GCI_Undefined);
    bool isNamed = false;
    for (std::size_t band = 0; band < bands; ++band) {
        const SourceBand& source = scene.GetBand(band);
        const GDALColorInterp colour = source.name.empty() ? source.colour : ColourOfName(source.name);
        if (colour != GCI_AlphaBand) colours[band] = colour; // a fused band is never transparency
        isNamed = isNamed || (colours[band] != GCI_Undefined && colours[band] != GCI_GrayIndex);
    }
    if (isNamed) return colours;
    std::fill(colours.begin(), colours.end(), GCI_Undefined);
    if (!colours.empty()) colours.front() = GCI_GrayIndex;
    return colours;
}

std::optional<std::array<double, 6>> PlaceOfPart(const Scene& scene, const hostkit::PixelRect& part) {
    auto transform = scene.pan->GetDescription()->geoTransform;
    if (!transform) return std::nullopt;
    auto& t = *transform;
    t[0] += part.col0 * t[1] + part.row0 * t[2];
    t[3] += part.col0 * t[4] + part.row0 * t[5];
    return transform;
}

bool LieAlike(const std::array<double, 6>& a, const std::array<double, 6>& b, int side) {
    constexpr double tolerance = 0.01;
    const double most = tolerance * std::min(std::hypot(a[1], a[4]), std::hypot(a[2], a[5]));
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!(std::abs(a[i] - b[i]) * (i % 3 == 0 ? 1 : side) <= most)) return false;
    return true;
}

const OGRSpatialReference& ProjectionOf(const Scene& scene) {
    const OGRSpatialReference& own = scene.pan->GetDescription()->projection;
    return own.IsEmpty() ? scene.GetMultispectral().image->GetDescription()->projection : own;
}

namespace {

/// Copies a position by control points or by rational polynomials. Both count pixels from the image's corner.
void CopyPosition(GDALDataset& pan, const hostkit::PixelRect& part, GDALDataset& target) {
    if (pan.GetGCPCount() > 0) {
        std::vector<GDAL_GCP> points(pan.GetGCPs(), pan.GetGCPs() + pan.GetGCPCount());
        for (GDAL_GCP& point : points) {
            point.dfGCPPixel -= part.col0;
            point.dfGCPLine -= part.row0;
        }
        target.SetGCPs(static_cast<int>(points.size()), points.data(), pan.GetGCPSpatialRef());
    }
    CPLStringList polynomials(CSLDuplicate(pan.GetMetadata("RPC")));
    if (polynomials.empty()) return;
    const auto move = [&](const char* name, std::uint32_t pixels) {
        if (const char* offset = polynomials.FetchNameValue(name); offset && pixels > 0)
            polynomials.SetNameValue(name, NumberText(CPLAtof(offset) - pixels).c_str());
    };
    move("SAMP_OFF", part.col0);
    move("LINE_OFF", part.row0);
    target.SetMetadata(polynomials.List(), "RPC");
}

/// In the form that GDAL writes, in UTC: 2017-08-13 15:48:30. A date without time, and a text that is not a
/// time, stay unchanged.
std::string AcquisitionText(const std::string& text) {
    constexpr std::size_t date = 10;
    constexpr int utc = 100; // time zone in OGRField; values below 2 mean unknown
    constexpr GIntBig secondsPerZone = 900;
    OGRField field;
    if (text.size() <= date || !OGRParseDate(text.c_str(), &field, 0)) return text;
    const auto& read = field.Date;
    std::tm time = {};
    time.tm_year = read.Year - 1900;
    time.tm_mon = read.Month - 1;
    time.tm_mday = read.Day;
    time.tm_hour = read.Hour;
    time.tm_min = read.Minute;
    time.tm_sec = static_cast<int>(read.Second);
    GIntBig seconds = CPLYMDHMSToUnixTime(&time);
    if (read.TZFlag > 1) seconds -= secondsPerZone * (read.TZFlag - utc);
    CPLUnixTimeToYMDHMS(seconds, &time);
    return FormatString("%04d-%02d-%02d %02d:%02d:%02d", time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
                        time.tm_hour, time.tm_min, time.tm_sec);
}

} // namespace

void DescribeOutput(const Scene& scene, const hostkit::PixelRect& part, const OutputRules& rules,
                    const OutputMetadata& metadata, GDALDataset& output) {
    GDALDataset& pan = scene.pan->GetDataset();
    if (auto transform = PlaceOfPart(scene, part)) output.SetGeoTransform(transform->data());
    const OGRSpatialReference& projection = ProjectionOf(scene);
    if (!projection.IsEmpty()) output.SetSpatialRef(&projection);
    CopyPosition(pan, part, output);
    if (const char* kind = pan.GetMetadataItem(GDALMD_AREA_OR_POINT))
        output.SetMetadataItem(GDALMD_AREA_OR_POINT, kind);
    if (!scene.acquired.empty())
        output.SetMetadataItem(acquisitionItem, AcquisitionText(scene.acquired).c_str(), imageryDomain);
    for (const auto& [name, value] : metadata)
        output.SetMetadataItem(name.c_str(), value.c_str());
    const std::vector<GDALColorInterp> colours = ColoursOf(scene, rules.bands);
    for (std::uint32_t band = 0; band < rules.bands; ++band) {
        GDALRasterBand& target = *output.GetRasterBand(static_cast<int>(band) + 1);
        const SourceBand& source = scene.GetBand(band);
        if (!source.description.empty()) target.SetDescription(source.description.c_str());
        if (source.wavelength)
            target.SetMetadataItem(wavelengthItem, NumberText(*source.wavelength).c_str(), imageryDomain);
        target.SetColorInterpretation(colours[band]);
        if (rules.noData) target.SetNoDataValue(*rules.noData);
        const auto& scale = scene.sampleOptions.scale;
        if (!scale && !source.meaning) continue;
        const SampleMeaning inFile = source.meaning.value_or(SampleMeaning());
        target.SetScale(inFile.scale * (scale ? scale->Step() : 1.0));
        target.SetOffset(scale ? inFile.scale * scale->Offset() + inFile.offset : inFile.offset);
    }
    if (rules.hasAlpha)
        output.GetRasterBand(static_cast<int>(rules.bands) + 1)->SetColorInterpretation(GCI_AlphaBand);
}

void CarryImagery(GDALDataset& described, GDALDataset& copy) {
    const auto carry = [](GDALMajorObject& from, GDALMajorObject& to) {
        if (char** items = from.GetMetadata(imageryDomain); items && *items)
            to.SetMetadata(items, imageryDomain);
    };
    carry(described, copy);
    for (int band = 1; band <= std::min(described.GetRasterCount(), copy.GetRasterCount()); ++band)
        carry(*described.GetRasterBand(band), *copy.GetRasterBand(band));
}

} // namespace rasterhost
