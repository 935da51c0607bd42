#include "fundament/Text.h"
#include "rasterhost/products/ProductKinds.h"
#include "rasterhost/products/ProductParts.h"
#include "rasterhost/reading/BandNames.h"

#include <cpl_conv.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::ToLower;

namespace {

struct DimapBand {
    const char* id;
    const char* name;
};

// Band ids of Pléiades and SPOT (B0 to B3) and of Pléiades Neo, from their user guides.
constexpr DimapBand dimapBands[] = {{"P", "pan"},   {"PAN", "pan"}, {"B0", "blue"},    {"B1", "green"},
                                    {"B2", "red"},  {"B3", "nir"},  {"DB", "coastal"}, {"B", "blue"},
                                    {"G", "green"}, {"R", "red"},   {"RE", "rededge"}, {"NIR", "nir"}};
// The order of bands in the file according to the guides, for metadata without a list.
constexpr const char* usualOrder[] = {"B2", "B1", "B0", "B3"};
constexpr const char* neoColours[] = {"R", "G", "B"};
constexpr const char* neoOthers[] = {"NIR", "RE", "DB"};

std::string DimapName(const std::string& id) {
    for (const DimapBand& band : dimapBands)
        if (id == band.id) return band.name;
    return {};
}

/// The number in the first element with a name; 0 without one.
double NumberOf(const Metadata& document, const std::string& element) {
    return CPLAtof(document.SearchText(element).c_str());
}

/// The middle of a band's range in micrometres.
std::optional<double> DimapWavelength(const Metadata& document, const std::string& id) {
    for (const Metadata* range : document.SearchAll("Band_Spectral_Range")) {
        const auto least = range->GetNumber("MIN"), most = range->GetNumber("MAX");
        if (range->Get("BAND_ID") != id || !least || !most) continue;
        const double middle = 0.5 * (*least + *most);
        return middle > 100.0 ? middle / 1000.0 : middle; // nanometres
    }
    return std::nullopt;
}

constexpr std::size_t mostDimapBands = 64, mostDimapTiles = 4096;

/// Ids of the bands of some files, in order; empty when unknown. A list of the whole document applies if
/// these are its only files.
std::vector<std::string> DimapOrder(const Metadata& files, const std::string& file, const Metadata& document,
                                    bool isOnlyGroup) {
    std::vector<std::pair<double, std::string>> indices;
    for (const Metadata* index : files.SearchAll("Raster_Index"))
        if (const auto number = index->GetNumber("BAND_INDEX"))
            indices.emplace_back(*number, index->Get("BAND_ID"));
    if (indices.empty() && isOnlyGroup)
        for (const Metadata* index : document.SearchAll("Raster_Index"))
            if (const auto number = index->GetNumber("BAND_INDEX"))
                indices.emplace_back(*number, index->Get("BAND_ID"));
    std::sort(indices.begin(), indices.end());
    std::vector<std::string> ids;
    ids.reserve(indices.size());
    for (const auto& [number, id] : indices)
        ids.push_back(id);
    if (!ids.empty()) return ids;
    if (file.find("_RGB_") != std::string::npos) return {std::begin(neoColours), std::end(neoColours)};
    if (file.find("_NED_") != std::string::npos) return {std::begin(neoOthers), std::end(neoOthers)};
    if (!isOnlyGroup) return {};
    return {std::begin(usualOrder), std::end(usualOrder)};
}

/// Reads the values for no data and saturation, and the bit depth of the samples.
void ReadSpecialValues(const Metadata& document, Product& product) {
    for (const Metadata* value : document.SearchAll("Special_Value")) {
        const auto count = value->GetNumber("SPECIAL_VALUE_COUNT");
        const std::string text = value->Get("SPECIAL_VALUE_TEXT");
        if (!count || *count < 0.0 || *count > 65535.0 || *count != std::floor(*count)) continue;
        if (text == "NODATA") product.noData = *count;
        const auto largest = static_cast<unsigned>(*count);
        if (text == "SATURATED" && largest > 255 && std::has_single_bit(largest + 1))
            product.bitDepth = std::bit_width(largest);
    }
}

/// Adds the bands of some files, which are tiles side by side.
void AddFiles(const ProductFiles& files, const std::string& name, const Metadata& document,
              const Metadata& group, bool isPan, bool isOnlyGroup, Product& product) {
    const std::vector<const Metadata*> tiles = group.SearchAll("Data_File");
    std::string path;
    for (const Metadata* tile : tiles) {
        const std::string href = tile->Get("DATA_FILE_PATH/@href");
        const auto file = files.FindBeside(name, href);
        if (!file) {
            product.fault = "'" + LastPart(name) + "' names '" + href + "', which does not exist";
            return;
        }
        path = files.PathOf(*file);
    }
    if (tiles.size() > 1 && !isOnlyGroup) {
        product.fault = "its bands lie in several files of several tiles each; make a mosaic of each with "
                        "gdalbuildvrt and name them: PAN MS ...";
        return;
    }
    if (tiles.size() > 1 &&
        (NumberOf(document, "OVERLAP_COL") > 0.0 || NumberOf(document, "OVERLAP_ROW") > 0.0)) {
        product.fault = "the tiles of '" + LastPart(name) +
                        "' overlap, and GDAL would read only the first; make "
                        "a mosaic of them with gdalbuildvrt and name it: PAN MS ...";
        return;
    }
    const std::vector<std::string> order = DimapOrder(group, path, document, isOnlyGroup);
    if (tiles.size() > 1) path = files.PathOf(name); // GDAL joins the tiles
    if (isPan) {
        product.pan = {path, 1, "pan", DimapWavelength(document, "P")};
        return;
    }
    if (order.empty() || order.size() > mostDimapBands) {
        product.fault = "'" + LastPart(name) + "' " +
                        (order.empty() ? "does not say which bands '" + LastPart(path) + "' has"
                                       : FormatString("lists more than %zu bands", mostDimapBands));
        return;
    }
    const double count = NumberOf(document, "NBANDS");
    for (std::size_t band = 0; band < order.size(); ++band)
        if (!isOnlyGroup || count <= 0.0 || static_cast<double>(band) < count)
            product.bands.push_back({path, static_cast<int>(band) + 1, DimapName(order[band]),
                                     DimapWavelength(document, order[band])});
}

std::string Satellite(const Metadata& document) {
    const std::string mission = document.SearchText("MISSION"), index = document.SearchText("MISSION_INDEX");
    if (mission == "PHR") return "Pléiades " + index;
    if (StartsWith(mission, "PNEO", true)) return "Pléiades Neo " + index;
    return mission + " " + index;
}

/// Empty for a document of another kind.
std::optional<ProductPart> ReadDocument(const ProductFiles& files, const std::string& name) {
    ProductPart part;
    Product& product = part.product;
    product.metadata = {name};
    product.kind = "DIMAP";
    product.name = StemPart(name);
    const auto document = files.Read(name, product.fault);
    if (!document) {
        product.fault = "'" + LastPart(name) + "' cannot be used: " + product.fault;
        return part;
    }
    const Metadata* raster = document->Search("Raster_Data"); // of Dimap_Document, or PHR_DIMAP_Document
    const Metadata* access = raster ? raster->Find("Data_Access") : nullptr;
    if (!access) return std::nullopt;
    const Metadata* format = document->Search("METADATA_FORMAT");
    const auto version = format ? format->GetNumber("@version") : std::nullopt;
    if (version && *version < 2.0) return std::nullopt;
    product.kind = Satellite(*document) + ", DIMAP 2";
    const std::string date = document->SearchText("IMAGING_DATE"),
                      time = document->SearchText("IMAGING_TIME");
    product.acquired = date + (time.empty() ? "" : "T" + time);
    part.key = FormatString("%s %s %.8s", product.kind.c_str(), date.c_str(), time.c_str());
    const std::string spectrum = document->SearchText("SPECTRAL_PROCESSING");
    const bool isPan = spectrum == "P" || spectrum == "PAN";
    if (!isPan && !spectrum.starts_with("MS") && spectrum != "XS") {
        product.leftOut.emplace_back(LastPart(name), "its bands are '" + spectrum + "', sharpened already");
        return part;
    }
    ReadSpecialValues(*document, product);
    const auto groups = access->SearchAll("Data_Files");
    if (groups.size() > mostDimapBands || access->SearchAll("Data_File").size() > mostDimapTiles) {
        product.fault = "'" + LastPart(name) + "' names too many files";
        return part;
    }
    for (const Metadata* group : groups)
        AddFiles(files, name, *document, *group, isPan, groups.size() == 1, product);
    if (groups.empty()) product.fault = "'" + LastPart(name) + "' names no image";
    return part;
}

} // namespace

void FindDimap(const ProductFiles& files, std::vector<Product>& found) {
    std::vector<ProductPart> parts;
    for (const std::string& name : files.GetNames()) {
        const std::string last = ToLower(LastPart(name));
        if (!last.starts_with("dim_") || !last.ends_with(".xml")) continue;
        if (auto part = ReadDocument(files, name)) parts.push_back(std::move(*part));
    }
    JoinParts(std::move(parts), found);
}

} // namespace rasterhost
