#include "rasterhost/writing/CogOptions.h"

#include "rasterhost/writing/TilePacker.h"

#include <cpl_string.h>

#include <algorithm>
#include <bit>

namespace rasterhost {

namespace {

/// The supported options and their values, separated by spaces; null for any value.
const struct {
    const char* name;
    const char* values;
} knownOptions[] = {{"COMPRESS", nullptr},
                    {"LEVEL", nullptr},
                    {"PREDICTOR", "YES NO STANDARD TRUE FALSE ON OFF 1 2"},
                    {"BLOCKSIZE", nullptr},
                    {"NUM_THREADS", nullptr},
                    {"BIGTIFF", "YES NO IF_NEEDED IF_SAFER"},
                    {"RESAMPLING", "CUBIC"},
                    {"OVERVIEW_RESAMPLING", "CUBIC"},
                    {"OVERVIEWS", "AUTO IGNORE_EXISTING NONE"},
                    {"TILING_SCHEME", "CUSTOM"},
                    {"GEOTIFF_VERSION", nullptr}};

bool IsKnown(const char* option) {
    const CPLStringList parts(CSLTokenizeString2(option, "=", 0));
    return std::any_of(std::begin(knownOptions), std::end(knownOptions), [&](const auto& known) {
        return parts.size() == 2 && EQUAL(parts[0], known.name) &&
               (!known.values ||
                CPLStringList(CSLTokenizeString2(known.values, " ", 0)).FindString(parts[1]) >= 0);
    });
}

} // namespace

bool PlanCog(const CPLStringList& cogOptions, CPLStringList& tiffOptions) {
    if constexpr (std::endian::native != std::endian::little) return false;
    for (int i = 0; i < cogOptions.size(); ++i)
        if (!IsKnown(cogOptions[i])) return false;
    const TileCodec* codec = FindTileCodec(cogOptions.FetchNameValueDef("COMPRESS", "LZW"));
    const char* side = cogOptions.FetchNameValueDef("BLOCKSIZE", "512");
    constexpr int leastSide = 128, mostSide = 4096, unit = 16;
    const int number = std::atoi(side);
    if (!codec || !FindTileCodec("DEFLATE") || number < leastSide || number > mostSide || number % unit != 0)
        return false;
    const auto set = [&](const char* name, const char* value) { tiffOptions.SetNameValue(name, value); };
    set("TILED", "YES");
    set("BLOCKXSIZE", side);
    set("BLOCKYSIZE", side);
    set("COMPRESS", codec->name);
    const char* predictor = cogOptions.FetchNameValueDef("PREDICTOR", "NO");
    if (codec->hasPredictor && (CPLTestBool(predictor) || EQUAL(predictor, "STANDARD")))
        set("PREDICTOR", "2");
    if (const char* level = cogOptions.FetchNameValue("LEVEL"); level && codec->levelOption)
        set(codec->levelOption, level);
    if (const char* version = cogOptions.FetchNameValue("GEOTIFF_VERSION")) set("GEOTIFF_VERSION", version);
    set("BIGTIFF", "YES"); // for the temporary file, of which only the tags are used
    set("ENDIANNESS", "LITTLE");
    return true;
}

BigTiff BigTiffOf(const CPLStringList& cogOptions) {
    const char* asked = cogOptions.FetchNameValueDef("BIGTIFF", "IF_NEEDED");
    return EQUAL(asked, "YES") ? BigTiff::Always : EQUAL(asked, "NO") ? BigTiff::Never : BigTiff::IfNeeded;
}

std::vector<CogLevel> LevelsOf(const CPLStringList& cogOptions, std::uint32_t columns, std::uint32_t rows,
                               std::uint32_t tileSide) {
    std::vector<CogLevel> levels{{columns, rows, {}, {}}};
    if (EQUAL(cogOptions.FetchNameValueDef("OVERVIEWS", "AUTO"), "NONE")) return levels;
    while (std::max(columns, rows) > tileSide) {
        columns = std::max(columns / 2, 1u);
        rows = std::max(rows / 2, 1u);
        levels.push_back({columns, rows, {}, {}});
    }
    return levels;
}

} // namespace rasterhost
