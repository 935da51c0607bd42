#include "fundament/Text.h"
#include "rasterhost/products/ProductKinds.h"

#include <cpl_conv.h>
#include <cpl_string.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>

namespace rasterhost {

using KOVA::Tessara::Fundament::EndsWith;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::ToLower;
using KOVA::Tessara::Fundament::ToUpper;

namespace {

/// A band of a Landsat sensor. `why` tells why it is left out; null if it is used.
struct LandsatBand {
    const char* number = nullptr; ///< as in file names
    const char* name = nullptr;
    double wavelength = 0.0; ///< centre in micrometres; for ETM+ the middle of the nominal limits
    const char* why = nullptr;
};

constexpr const char* thermalReason = "thermal: pan does not see that light, and its pixels are far coarser";

// Limits: Landsat 7 Data Users Handbook. Centres: Landsat 8 Data Users Handbook, also valid for Landsat 9.
constexpr LandsatBand etmBands[] = {{"1", "blue", 0.485},
                                    {"2", "green", 0.56},
                                    {"3", "red", 0.66},
                                    {"4", "nir", 0.835},
                                    {"5", "swir1", 1.65},
                                    {"7", "swir2", 2.215},
                                    {"8", "pan", 0.71},
                                    {"6_VCID_1", "thermal", 11.45, thermalReason},
                                    {"6_VCID_2", "thermal", 11.45, thermalReason},
                                    {"6", "thermal", 11.45, thermalReason}};
constexpr LandsatBand oliBands[] = {{"1", "coastal", 0.443},
                                    {"2", "blue", 0.482},
                                    {"3", "green", 0.561},
                                    {"4", "red", 0.655},
                                    {"5", "nir", 0.865},
                                    {"6", "swir1", 1.609},
                                    {"7", "swir2", 2.201},
                                    {"8", "pan", 0.59},
                                    {"9", "cirrus", 1.373, "cirrus: it sees clouds and hardly the ground"},
                                    {"10", "thermal", 10.895, thermalReason},
                                    {"11", "thermal", 12.005, thermalReason}};

/// What a file name tells: product, number of the satellite, band.
struct BandFile {
    std::string product; ///< folder and name up to the band number
    char satellite = 0;
    std::string band; ///< in capitals; empty for files that are not a band
};

/// The files of a scene without metadata.
struct BandFiles {
    std::string product;
    char satellite = 0;
    std::map<std::string, std::string> bands; ///< file names by band number
};

/// A name in a form in which letter case does not matter; that of its folder does.
std::string AnyCase(const std::string& name) { return FolderPart(name) + ToLower(LastPart(name)); }

/// The name of a raster file of one band, split at the B: "LC08_L1TP_", "8".
struct SplitName {
    std::string start;
    std::string number; ///< what follows the B, in capitals
};

std::optional<SplitName> SplitAtBand(const std::string& name) {
    const std::string stem = StemPart(name);
    const std::size_t place = stem.find_last_of("Bb");
    if (place == std::string::npos || !IsRasterName(name)) return std::nullopt;
    return SplitName{stem.substr(0, place), ToUpper(stem.substr(place + 1))};
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// 1 or 2 digits, with the gain of a thermal band of Landsat 7 or without.
bool IsBandNumber(std::string number) {
    if (EndsWith(number, "_VCID_1", false) || EndsWith(number, "_VCID_2", false))
        number.resize(number.size() - 7);
    return (number.size() == 1 || number.size() == 2) && IsDigit(number.front()) && IsDigit(number.back());
}

/// The number of the satellite with which a product's name starts, as a digit; 0 if it does not start so.
char ReadSatellite(const std::string& product) {
    const std::string lower = ToLower(product);
    std::size_t place = 0;
    const auto pass = [&](std::string_view letters) { // one of them, if it is there
        if (place < lower.size() && letters.find(lower[place]) != letters.npos) ++place;
    };
    if (StartsWith(lower, "landsat", false)) {
        place = 7;
        pass("-_ ");
    } else if (StartsWith(lower, "l", false)) {
        place = 1;
        pass("coe");
        pass("0");
    }
    return place > 0 && place < lower.size() && lower[place] >= '7' && lower[place] <= '9' ? lower[place] : 0;
}

/// Reads LC08_L1TP_..._B8.TIF, and LC8... from before the collections.
std::optional<BandFile> ReadName(const std::string& name) {
    const auto parts = SplitAtBand(name);
    if (!parts || !IsBandNumber(parts->number) || !EndsWith(parts->start, "_", false)) return std::nullopt;
    const std::string product = parts->start.substr(0, parts->start.size() - 1);
    const char satellite = ReadSatellite(product);
    if (satellite == 0) return std::nullopt;
    if (EndsWith(product, "_SR", true) || EndsWith(product, "_ST", true)) return std::nullopt; // Level 2
    return BandFile{FolderPart(name) + product, satellite, parts->number};
}

/// The same for scene_B8.TIF or B8.TIF, whose names do not tell the satellite.
std::optional<BandFile> ReadNumber(const std::string& name) {
    static const std::set<std::string> numbers = {"1", "2",  "3",  "4",  "5",  "6",        "7",       "8",
                                                  "9", "8A", "10", "11", "12", "6_VCID_1", "6_VCID_2"};
    const auto parts = SplitAtBand(name);
    if (!parts || !numbers.contains(parts->number)) return std::nullopt;
    std::string product = parts->start;
    if (!product.empty()) {
        if (product.size() == 1 || std::string_view("-_. ").find(product.back()) == std::string_view::npos)
            return std::nullopt;
        product.pop_back();
    }
    return BandFile{FolderPart(name) + product, 0, parts->number};
}

/// The bands of each scene, by its name in lower case; `read` reads the name of a file.
std::map<std::string, BandFiles> GroupBands(const ProductFiles& files,
                                            std::optional<BandFile> (*read)(const std::string& name)) {
    std::map<std::string, BandFiles> scenes;
    for (const std::string& name : files.GetNames())
        if (const auto file = read(name)) {
            BandFiles& scene = scenes[AnyCase(file->product)];
            scene.product = file->product;
            scene.satellite = file->satellite;
            scene.bands[file->band] = name;
        }
    return scenes;
}

/// Assigns the bands by their numbers.
void TakeBands(char satellite, const std::map<std::string, std::string>& files, const ProductFiles& all,
               Product& product) {
    const auto take = [&](const LandsatBand& band) {
        const auto file = files.find(band.number);
        if (file == files.end()) return;
        if (band.why) {
            product.leftOut.emplace_back(LastPart(file->second), band.why);
            return;
        }
        InputBand input{all.PathOf(file->second), 1, band.name, band.wavelength};
        if (input.name == "pan")
            product.pan = std::move(input);
        else
            product.bands.push_back(std::move(input));
    };
    if (satellite == '7')
        std::for_each(std::begin(etmBands), std::end(etmBands), take);
    else
        std::for_each(std::begin(oliBands), std::end(oliBands), take);
    product.kind = FormatString("Landsat %c Level-1", satellite);
    product.sameFirstCentre = true;
    product.noData = 0.0; // the fill value of all Level-1 products, not declared in their files
    if (product.pan.file.empty()) product.fault = "it lacks the panchromatic band, B8";
}

std::string MetadataStem(const std::string& name) {
    constexpr const char* endings[] = {"_mtl.txt", "_mtl.json", "_mtl.xml"};
    const std::string small = ToLower(name);
    for (const char* ending : endings)
        if (small.ends_with(ending)) return name.substr(0, name.size() - std::string(ending).size());
    return {};
}

/// In Level-1 products the centres of the first pixels coincide, and those of the last: pan has twice as many
/// rows less one. True unless the metadata says otherwise.
bool HasSameCentres(const Metadata& metadata) {
    const auto number = [&](const std::string& name) { return CPLAtof(metadata.SearchText(name).c_str()); };
    for (const char* which : {"LINES", "SAMPLES"}) {
        const double fine = number(std::string("PANCHROMATIC_") + which),
                     coarse = number(std::string("REFLECTIVE_") + which);
        if (fine > 0.0 && coarse > 0.0 && fine != 2.0 * coarse - 1.0) return false;
    }
    return true;
}

/// Makes a product from metadata, which also names the files.
Product ReadMetadata(const ProductFiles& files, const std::string& name) {
    Product product;
    product.kind = "Landsat Level-1";
    product.metadata = {name};
    product.name = LastPart(MetadataStem(name));
    const auto metadata = files.Read(name, product.fault);
    if (!metadata) {
        product.fault = "its metadata, '" + LastPart(name) + "', cannot be used: " + product.fault;
        return product;
    }
    const std::string spacecraft = metadata->SearchText("SPACECRAFT_ID");
    const char satellite = spacecraft.empty() ? '?' : spacecraft.back();
    std::string level = metadata->SearchText("PROCESSING_LEVEL"); // of collection 2
    if (level.empty()) level = metadata->SearchText("DATA_TYPE");
    if (satellite != '7' && satellite != '8' && satellite != '9') {
        product.fault =
            "its metadata says that it is of '" + spacecraft + "'; Landsat 7, 8 and 9 have a pan band";
        return product;
    }
    if (!level.starts_with("L1")) {
        product.kind = FormatString("Landsat %c", satellite);
        product.fault = "it is of level '" + level + "'; only Level-1 has a pan band: use that";
        return product;
    }
    std::map<std::string, std::string> bands;
    std::string contradiction;
    const std::string key = "FILE_NAME_BAND_";
    const auto take = [&](const char* number) {
        const std::string file = metadata->SearchText(key + number);
        if (file.empty()) return;
        const auto found = files.FindBeside(name, file);
        if (!found) {
            product.leftOut.emplace_back(file, "the metadata names it, but the file does not exist");
            return;
        }
        const auto said = ReadName(*found);
        if (said && (said->satellite != satellite || said->band != number))
            contradiction = FormatString("its metadata says that '%s' is band %s of Landsat %c, and the name "
                                         "of that file says otherwise",
                                         LastPart(*found).c_str(), number, satellite);
        bands[number] = *found;
    };
    for (const LandsatBand& band : oliBands)
        take(band.number);
    for (const char* number : {"6_VCID_1", "6_VCID_2"})
        take(number);
    const std::string time = metadata->SearchText("SCENE_CENTER_TIME");
    product.acquired = metadata->SearchText("DATE_ACQUIRED") + (time.empty() ? "" : "T" + time);
    TakeBands(satellite, bands, files, product);
    if (!contradiction.empty()) product.fault = contradiction + "; name the files: PAN MS ...";
    product.sameFirstCentre = HasSameCentres(*metadata);
    return product;
}

/// "B2 blue, B3 green" for the bands that exist.
template <std::size_t N>
std::string ListBands(const LandsatBand (&bands)[N], const std::map<std::string, std::string>& files) {
    std::string text;
    for (const LandsatBand& band : bands)
        if (files.contains(band.number) && band.name != std::string("pan"))
            text += FormatString("%sB%s %s", text.empty() ? "" : ", ", band.number, band.name);
    return text;
}

Product ReadNumbers(const BandFiles& scene, const ProductFiles& files) {
    Product product;
    const auto has = [&](const char* band) { return scene.bands.contains(band); };
    const bool isSeven = has("6_VCID_1") || has("6_VCID_2"), isEight = has("9") || has("10");
    TakeBands(isSeven ? '7' : '8', scene.bands, files, product);
    product.kind = isSeven ? "Landsat 7 Level-1" : isEight ? "Landsat 8 or 9 Level-1" : "numbered bands";
    if (has("8A") || has("12")) {
        product.kind = "numbered bands";
        product.fault = "its numbers are those of Sentinel-2, which has no pan band; name the files if it is "
                        "another: PAN MS ...";
    } else if (isSeven == isEight) {
        product.fault = "its numbers may be of Landsat 8 or 9 (" + ListBands(oliBands, scene.bands) +
                        "), of Landsat 7 (" + ListBands(etmBands, scene.bands) +
                        "), or of Sentinel-2, which has no pan band. Name the files: PAN MS ...; or put L8_ "
                        "or L7_ before their names";
    }
    return product;
}

} // namespace

void FindLandsat(const ProductFiles& files, std::vector<Product>& found) {
    std::map<std::string, BandFiles> byName = GroupBands(files, ReadName);
    std::set<std::string> described;
    for (const std::string& name : files.GetNames()) {
        const std::string stem = MetadataStem(name);
        // One product may have its metadata as text, JSON and XML.
        if (stem.empty() || !described.insert(AnyCase(stem)).second) continue;
        byName.erase(AnyCase(stem));
        found.push_back(ReadMetadata(files, name));
    }
    constexpr std::size_t longName = 12; // of products as delivered; shorter ones may be anything
    for (const auto& [key, scene] : byName) {
        if (!scene.bands.contains("8") && LastPart(scene.product).size() < longName) continue;
        Product& product = found.emplace_back();
        product.name = LastPart(scene.product);
        TakeBands(scene.satellite, scene.bands, files, product);
    }
}

void FindNumbered(const ProductFiles& files, std::vector<Product>& found) {
    for (const auto& [key, scene] : GroupBands(files, ReadNumber)) {
        if (!scene.bands.contains("8") || scene.bands.size() < 2) continue;
        found.push_back(ReadNumbers(scene, files));
        found.back().name = LastPart(scene.product);
    }
}

} // namespace rasterhost
