#include "rasterhost/products/FindProduct.h"

#include "fundament/Text.h"
#include "rasterhost/products/ProductKinds.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/requests/Operation.h"

#include <algorithm>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::ToLower;

namespace {

// The first kind that knows some of the files has them all.
constexpr ProductKind productKinds[] = {
    {"Landsat 7, 8 and 9 Level-1", FindLandsat},
    {"DIMAP 2: Pléiades, Pléiades Neo, SPOT 6 and 7", FindDimap},
    {"WorldView, GeoEye and QuickBird", FindWorldView},
    {"STAC item", FindStac},
    {"folder with the names of bands", FindPlain},
};

bool IsMetadataName(const std::string& name) {
    const std::string small = ToLower(name);
    return std::ranges::any_of(
        std::initializer_list<const char*>{".txt", ".xml", ".json", ".geojson", ".imd"},
        [&](const char* ending) { return small.ends_with(ending); });
}

std::string ListKinds() {
    std::string text;
    for (const ProductKind& kind : productKinds)
        text += (text.empty() ? "" : "; ") + std::string(kind.name);
    return text;
}

ProductSearch FailSearch(Status& status, const std::string& message) {
    (void)Fail(status, HostStatus::InputNotSupported, message);
    return ProductSearch::Failed;
}

ProductSearch ChooseProduct(const std::string& name, std::vector<Product>& found, Product& product,
                            Status& status) {
    if (found.empty())
        return FailSearch(status, "'" + name + "' is no product that is known here; known are: " +
                                      ListKinds() + "; name the files as in PAN MS");
    if (found.size() > 1) {
        constexpr std::size_t most = 20;
        std::string list;
        for (std::size_t i = 0; i < std::min(found.size(), most); ++i)
            list += "\n  " + (found[i].metadata.empty() ? found[i].name : found[i].metadata.front());
        return FailSearch(status,
                          FormatString("'%s' has %zu products; name the folder or the metadata file of "
                                       "one:",
                                       name.c_str(), found.size()) +
                              list + (found.size() > most ? "\n  ..." : ""));
    }
    product = std::move(found.front());
    if (product.fault.empty() && product.pan.file.empty()) product.fault = "it has no panchromatic band";
    if (product.fault.empty() && product.bands.empty()) product.fault = "it has no multispectral bands";
    if (product.fault.empty()) return ProductSearch::Found;
    return FailSearch(status, "the product '" + (product.name.empty() ? name : product.name) + "' (" +
                                  product.kind + ") cannot be fused: " + product.fault);
}

/// The products that a folder or archive has, by the first kind that knows any.
bool FindAll(const std::string& folder, std::vector<Product>& found, Status& status) {
    ProductFiles files;
    if (!files.List(folder, status)) return false;
    for (const ProductKind& kind : productKinds)
        if (found.empty()) kind.find(files, found);
    return true;
}

/// Leaves those that a metadata file is of. One that describes the others, as the volume of DIMAP does, is of
/// all.
void KeepThoseOf(const std::string& metadata, std::vector<Product>& found) {
    const auto isOf = [&](const Product& product) {
        return std::ranges::any_of(
            product.metadata, [&](const std::string& each) { return StemPart(each) == StemPart(metadata); });
    };
    if (!ToLower(LastPart(metadata)).starts_with("vol_"))
        std::erase_if(found, [&](const Product& product) { return !isOf(product); });
}

ProductSearch SearchProduct(const std::string& name, Product& product, Status& status) {
    const FileState state = LookAt(name);
    std::vector<Product> found;
    if (state.isFolder || (state.isFile && IsArchive(name))) {
        if (!FindAll(name, found, status)) return ProductSearch::Failed;
        return ChooseProduct(name, found, product, status);
    }
    if (!state.isFile || !IsMetadataName(name)) return ProductSearch::NoProduct;
    const std::string folder = FolderPart(name).empty() ? "." : FolderPart(name);
    if (!FindAll(folder, found, status)) return ProductSearch::Failed;
    KeepThoseOf(name, found);
    // Pan and bands may lie in folders side by side, each with its metadata.
    if (found.size() == 1 && found.front().pan.file.empty() != found.front().bands.empty()) {
        std::vector<Product> around;
        Status ignored;
        if (FindAll(folder + "/..", around, ignored)) KeepThoseOf(name, around);
        if (!around.empty()) found = std::move(around);
    }
    if (std::string fault; found.empty() && !ProductFiles::ReadFile(name, fault))
        return FailSearch(status, "the metadata file '" + name + "' cannot be used: " + fault);
    return ChooseProduct(name, found, product, status);
}

} // namespace

ProductSearch FindProduct(const std::string& name, Product& product, Status& status) {
    ProductSearch result = ProductSearch::Failed;
    double seconds = 0.0;
    const bool isDone = RunOperation(
        [&] {
            result = SearchProduct(name, product, status);
            return result != ProductSearch::Failed;
        },
        seconds, status);
    return isDone ? result : ProductSearch::Failed;
}

void TakeProduct(const Product& product, PairRequest& request) {
    request.pan = product.pan;
    request.multispectral = product.bands;
    if (product.noData) request.noData = product.noData;
    if (product.bitDepth) request.bitDepth = product.bitDepth;
}

} // namespace rasterhost
