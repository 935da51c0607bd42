#include "rasterhost/writing/Picture.h"

#include "fundament/Text.h"

#include <cpl_string.h>
#include <gdal_utils.h>

#include <cstdint>
#include <memory>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr std::size_t sampleValues = 65536;

/// How often each value occurs in pixels with data, per band. Empty when the image cannot be read, or when
/// cancelled. All bands are read together, since their samples lie in the same blocks.
std::vector<std::vector<std::uint64_t>> CountValues(const std::vector<GDALRasterBand*>& bands,
                                                    const std::function<bool(double)>& progress) {
    if (bands.empty()) return {};
    std::vector counts(bands.size(), std::vector<std::uint64_t>(sampleValues));
    const int columns = bands.front()->GetXSize(), lines = bands.front()->GetYSize();
    std::vector<std::uint16_t> row(static_cast<std::size_t>(columns));
    std::vector<unsigned char> valid(row.size());
    for (int line = 0; line < lines; ++line) {
        for (std::size_t band = 0; band < bands.size(); ++band) {
            GDALRasterBand& mask = *bands[band]->GetMaskBand();
            if (bands[band]->RasterIO(GF_Read, 0, line, columns, 1, row.data(), columns, 1, GDT_UInt16, 0, 0,
                                      nullptr) != CE_None ||
                mask.RasterIO(GF_Read, 0, line, columns, 1, valid.data(), columns, 1, GDT_Byte, 0, 0,
                              nullptr) != CE_None)
                return {};
            for (std::size_t column = 0; column < row.size(); ++column)
                if (valid[column]) ++counts[band][row[column]];
        }
        if (progress && !progress((line + 1.0) / lines)) return {};
    }
    return counts;
}

/// The lowest value that this percentage of the samples does not exceed.
double FindPercentile(const std::vector<std::uint64_t>& counts, std::uint64_t all, std::uint64_t percent) {
    const std::uint64_t place = (all - 1) * percent / 100;
    std::uint64_t before = 0;
    std::size_t value = 0;
    while (value + 1 < counts.size() && before + counts[value] <= place)
        before += counts[value++];
    return static_cast<double>(value);
}

} // namespace

std::vector<std::array<double, 2>> FindStretches(GDALDataset& image,
                                                 const std::function<bool(double)>& progress) {
    std::vector<GDALRasterBand*> bands;
    std::vector<std::array<double, 2>> stretches;
    for (int number = 1; number <= image.GetRasterCount(); ++number) {
        GDALRasterBand* band = image.GetRasterBand(number);
        if (band->GetColorInterpretation() != GCI_AlphaBand) bands.push_back(band);
    }
    for (const std::vector<std::uint64_t>& counts : CountValues(bands, progress)) {
        std::uint64_t all = 0;
        for (const std::uint64_t count : counts)
            all += count;
        std::array<double, 2> stretch{0.0, 1.0};
        if (all > 0) stretch = {FindPercentile(counts, all, 2), FindPercentile(counts, all, 98)};
        if (stretch[1] <= stretch[0]) stretch[1] = stretch[0] + 1.0;
        stretches.push_back(stretch);
    }
    return stretches;
}

GDALDatasetUniquePtr MakePicture(GDALDataset& image, std::vector<std::array<double, 2>>& stretches,
                                 const std::function<bool(double)>& progress) {
    stretches = FindStretches(image, progress);
    if (stretches.empty()) return nullptr;
    CPLStringList options;
    for (const char* option :
         {"-of", "VRT", "-ot", "Byte", "-a_nodata", "none", "-a_scale", "1", "-a_offset", "0"})
        options.AddString(option);
    std::string said;
    for (std::size_t band = 0; band < stretches.size(); ++band) {
        const auto& [least, most] = stretches[band];
        options.AddString(FormatString("-scale_%zu", band + 1).c_str());
        for (const double number : {least, most, 0.0, 255.0})
            options.AddString(FormatString("%.0f", number).c_str());
        said += FormatString("%s%.0f to %.0f", said.empty() ? "" : ", ", least, most);
    }
    for (const std::string& item : {"Stretch=2 to 98 %, band by band: " + said,
                                    std::string("StretchNote=to be looked at, not to be measured in")}) {
        options.AddString("-mo");
        options.AddString(item.c_str());
    }
    const std::unique_ptr<GDALTranslateOptions, decltype(&GDALTranslateOptionsFree)> parsed(
        GDALTranslateOptionsNew(options.List(), nullptr), &GDALTranslateOptionsFree);
    if (!parsed) return nullptr;
    return GDALDatasetUniquePtr(
        GDALDataset::FromHandle(GDALTranslate("", GDALDataset::ToHandle(&image), parsed.get(), nullptr)));
}

} // namespace rasterhost
