#include "fundament/Text.h"
#include "rasterhost/products/ProductKinds.h"
#include "rasterhost/products/ProductParts.h"

#include <algorithm>

namespace rasterhost {

using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Fundament::ToLower;

namespace {

struct ImdBand {
    const char* group; ///< of the IMD file
    const char* name;
    double wavelength; ///< middle of the nominal limits of WorldView-2 and -3, in micrometres
};

constexpr ImdBand imdBands[] = {
    {"BAND_P", "pan", 0.625},      {"BAND_C", "coastal", 0.425}, {"BAND_B", "blue", 0.48},
    {"BAND_G", "green", 0.545},    {"BAND_Y", "yellow", 0.605},  {"BAND_R", "red", 0.66},
    {"BAND_RE", "rededge", 0.725}, {"BAND_N", "nir", 0.8325},    {"BAND_N2", "nir2", 0.95}};

struct ImdSatellite {
    const char* id;
    const char* name;
    bool hasTheseBands; ///< the bands of the table; other sensors have other limits
};

constexpr ImdSatellite imdSatellites[] = {{"QB02", "QuickBird", false},   {"GE01", "GeoEye-1", false},
                                          {"WV01", "WorldView-1", false}, {"WV02", "WorldView-2", true},
                                          {"WV03", "WorldView-3", true},  {"WV04", "WorldView-4", false}};

/// The same for pan and bands of a scene: the stem without the letters between the first two hyphens, which
/// tell them apart, and the time before them.
std::string SceneKey(const std::string& stem) {
    const std::size_t first = stem.find('-');
    const std::size_t second = first == std::string::npos ? first : stem.find('-', first + 1);
    return second == std::string::npos ? stem : stem.substr(second + 1);
}

/// These letters: P2AS for pan, M2AS for bands, S2AS for bands that are already sharpened.
std::string LettersOf(const std::string& stem) {
    const std::size_t first = stem.find('-');
    return first == std::string::npos ? std::string()
                                      : stem.substr(first + 1, stem.find('-', first + 1) - first - 1);
}

/// The mosaic of the tiles, which GDAL joins; else the image with the same stem.
std::optional<std::string> FindImage(const ProductFiles& files, const std::string& name) {
    for (const char* ending : {".TIL", ".TIF", ".TIFF", ".NTF"})
        if (auto image = files.FindBeside(name, StemPart(name) + ending)) return image;
    return std::nullopt;
}

/// Why GDAL cannot join the tiles, which it looks for by their exact names; empty if it can.
std::string FindTileFault(const ProductFiles& files, const std::string& til) {
    std::string fault;
    const auto tiles = files.Read(til, fault);
    if (!tiles) return {}; // GDAL reports what is wrong with it
    for (const Metadata& tile : tiles->parts) {
        const std::string wanted = tile.Get("filename");
        if (wanted.empty()) continue;
        const auto file = files.FindBeside(til, wanted);
        if (!file) return "'" + LastPart(til) + "' names '" + wanted + "', which does not exist";
        if (LastPart(*file) != wanted)
            return "'" + LastPart(til) + "' names '" + wanted + "', and the file is called '" +
                   LastPart(*file) +
                   "'; rename it and those like it, or make a mosaic with gdalbuildvrt and "
                   "name that: PAN MS ...";
    }
    return {};
}

void TakeImd(const ProductFiles& files, const std::string& name, const Metadata& imd, ProductPart& part) {
    Product& product = part.product;
    const std::string id = imd.SearchText("satId");
    const auto* satellite = std::find_if(std::begin(imdSatellites), std::end(imdSatellites),
                                         [&](const ImdSatellite& each) { return id == each.id; });
    const bool isKnown = satellite != std::end(imdSatellites);
    product.kind = isKnown ? satellite->name : "satellite '" + id + "'";
    product.sensor = id;
    product.acquired = imd.SearchText("firstLineTime");
    const auto image = FindImage(files, name);
    if (!image) {
        product.fault = "there is no image beside '" + LastPart(name) + "', neither .TIL nor .TIF";
        return;
    }
    if (LettersOf(StemPart(*image)).starts_with('S') && imd.SearchText("bandId") != "P") {
        product.leftOut.emplace_back(LastPart(*image), "it is sharpened already");
        return;
    }
    if (ToLower(*image).ends_with(".til")) product.fault = FindTileFault(files, *image);
    int number = 0;
    for (const Metadata& group : imd.parts)
        for (const ImdBand& band : imdBands)
            if (group.name == band.group) {
                InputBand input{files.PathOf(*image), ++number, band.name};
                if (isKnown && satellite->hasTheseBands) input.wavelength = band.wavelength;
                if (input.name == "pan")
                    product.pan = input;
                else
                    product.bands.push_back(input);
            }
    product.noData = 0.0; // the fill value outside the image, not declared in the files
    // Samples have 11 bits, unless the vendor has converted them.
    if (imd.SearchText("bitsPerPixel") == "16" &&
        StringsEqual(imd.SearchText("radiometricEnhancement"), "off", true))
        product.bitDepth = 11;
    if (number == 0)
        product.leftOut.emplace_back(LastPart(*image), "its metadata has none of the bands that pan covers");
}

} // namespace

void FindWorldView(const ProductFiles& files, std::vector<Product>& found) {
    std::vector<ProductPart> parts;
    for (const std::string& name : files.GetNames()) {
        if (!ToLower(name).ends_with(".imd")) continue;
        ProductPart& part = parts.emplace_back();
        part.key = SceneKey(StemPart(name));
        part.product.name = StemPart(name);
        part.product.metadata = {name};
        if (const auto imd = files.Read(name, part.product.fault))
            TakeImd(files, name, *imd, part);
        else
            part.product.fault = "'" + LastPart(name) + "' cannot be used: " + part.product.fault;
    }
    JoinParts(std::move(parts), found);
}

} // namespace rasterhost
