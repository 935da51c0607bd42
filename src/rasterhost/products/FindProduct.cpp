#include "rasterhost/products/FindProduct.h"

#include "fundament/Text.h"
#include "rasterhost/products/ProductKinds.h"
#include "rasterhost/products/SensorTransfers.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/requests/Operation.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <map>
#include <numeric>
#include <system_error>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::ToLower;

namespace {

// The first kind that recognises any of the files takes all of them.
constexpr ProductKind productKinds[] = {
    {"Landsat 7, 8 and 9 Level-1", FindLandsat},
    {"DIMAP 2: Pléiades, Pléiades Neo, SPOT 6 and 7", FindDimap},
    {"WorldView, GeoEye and QuickBird", FindWorldView},
    {"STAC item", FindStac},
    {"a folder with the names of bands, such as pan.tif and ms.tif", FindPlain},
    {"the numbers of Landsat's bands, such as x_B8.tif and x_B4.tif", FindNumbered},
};

bool IsMetadataName(const std::string& name) {
    const std::string small = ToLower(name);
    return std::ranges::any_of(
        std::initializer_list<const char*>{".txt", ".xml", ".json", ".geojson", ".imd", ".til"},
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

/// Two bands for which the metadata names the same pixels, as in "pan and red"; empty when there are none.
std::string FindNamedTwice(const Product& product) {
    std::map<std::pair<std::string, int>, std::string> names;
    std::vector<InputBand> bands = product.bands;
    bands.push_back(product.pan);
    for (const InputBand& band : bands)
        if (const auto [before, isNew] =
                names.emplace(std::pair(band.file, band.band.value_or(1)), band.name);
            !isNew)
            return "'" + before->second + "' and '" + band.name + "' are both band " +
                   std::to_string(band.band.value_or(1)) + " of '" + band.file + "'";
    return {};
}

ProductSearch ChooseProduct(const std::string& name, std::vector<Product>& found, Product& product,
                            Status& status) {
    if (found.empty())
        return FailSearch(status, "'" + name + "' is not a known kind of product; the known kinds are: " +
                                      ListKinds() + "; name the files of other products: PAN MS ...");
    if (found.size() > 1) {
        constexpr std::size_t most = 20;
        std::string list;
        for (std::size_t i = 0; i < std::min(found.size(), most); ++i)
            list += "\n  " + (!found[i].metadata.empty() ? found[i].metadata.front()
                              : found[i].name.empty()    ? LastPart(found[i].pan.file)
                                                         : found[i].name);
        return FailSearch(status,
                          FormatString("'%s' has %zu products; name the folder or the metadata file of "
                                       "one:",
                                       name.c_str(), found.size()) +
                              list + (found.size() > most ? "\n  ..." : ""));
    }
    product = std::move(found.front());
    if (product.fault.empty() && product.pan.file.empty()) product.fault = "it has no panchromatic band";
    if (product.fault.empty() && product.bands.empty()) product.fault = "it has no multispectral bands";
    if (product.fault.empty()) product.fault = FindNamedTwice(product);
    if (product.fault.empty()) return ProductSearch::Found;
    if (IsOnNetwork(name) && IsMetadataName(name) && (product.pan.file.empty() || product.bands.empty()))
        product.fault += "; on a server only the files that the metadata names can be found, so name the "
                         "files: PAN MS ...";
    return FailSearch(status, "the product '" + (product.name.empty() ? name : product.name) + "' (" +
                                  product.kind + ") cannot be fused: " + product.fault);
}

/// Whether a metadata file describes a product together with another file. A DIMAP volume describes all of
/// its products; a file with another extension may repeat the same.
bool DescribesAsWell(const std::string& metadata, const std::string& other) {
    if (ToLower(LastPart(metadata)).starts_with("vol_")) return ToLower(LastPart(other)).starts_with("dim_");
    return FolderPart(metadata) + StemPart(metadata) == FolderPart(other) + StemPart(other);
}

/// The products in a folder or archive, of the first kind that recognises any. With a metadata file, relative
/// to the folder, only the products that it describes.
bool FindAll(const std::string& folder, const std::string& metadata, std::vector<Product>& found,
             Status& status) {
    ProductFiles files;
    // Most servers do not list their folders.
    if (!metadata.empty() && IsOnNetwork(folder))
        files.TakeOne(folder, metadata);
    else if (!files.List(folder, status))
        return false;
    files.Want(metadata);
    std::vector<Product> describedAsWell;
    for (const ProductKind& kind : productKinds) {
        if (!found.empty()) break;
        kind.find(files, found);
        if (metadata.empty()) continue;
        if (describedAsWell.empty())
            std::ranges::copy_if(found, std::back_inserter(describedAsWell), [&](const Product& product) {
                return std::ranges::any_of(product.metadata, [&](const std::string& each) {
                    return DescribesAsWell(metadata, each);
                });
            });
        std::erase_if(found, [&](const Product& product) {
            return std::ranges::count(product.metadata, metadata) == 0;
        });
    }
    if (found.empty()) found = std::move(describedAsWell);
    return !files.HasTooMuchMetadata() || (!metadata.empty() && !found.empty()) ||
           Fail(status, HostStatus::InputNotSupported,
                "'%s' has too many metadata files; name the folder or the metadata file of one product",
                folder.c_str());
}

/// Pan and bands may be in adjacent folders, each with its own metadata. If `found` is only one of them,
/// takes both. `metadata` is relative to the folder.
void LookBeside(const std::string& folder, const std::string& metadata, std::vector<Product>& found) {
    if (IsOnNetwork(folder) || found.size() != 1 ||
        found.front().pan.file.empty() == found.front().bands.empty())
        return;
    std::vector<Product> around;
    Status ignored;
    std::error_code failure;
    const std::filesystem::path place = std::filesystem::canonical(folder, failure).filename();
    const bool isRead = FindAll(folder + "/..", (place / metadata).generic_string(), around, ignored);
    if (isRead && !around.empty()) found = std::move(around);
}

ProductSearch SearchProduct(const std::string& name, Product& product, Status& status) {
    const FileState state = LookAt(name);
    std::vector<Product> found;
    if (state.isFolder || (state.isFile && IsArchive(name))) {
        if (!FindAll(name, {}, found, status)) return ProductSearch::Failed;
        if (state.isFolder && !found.empty() && !found.front().metadata.empty())
            LookBeside(name, std::string(found.front().metadata.front()), found);
        return ChooseProduct(name, found, product, status);
    }
    if (!state.exists && IsOnNetwork(name))
        return FailSearch(status,
                          "'" + name +
                              "' does not exist, or its server cannot be reached or does not list its "
                              "folders; name a product on a server by its metadata file (*_MTL.txt of "
                              "Landsat, the JSON of a STAC item) or its archive, or name its files: "
                              "PAN MS ...");
    if (!state.isFile || !IsMetadataName(name)) return ProductSearch::NoProduct;
    const std::string folder = FolderPart(name).empty() ? "." : FolderPart(name);
    if (!FindAll(folder, LastPart(name), found, status)) return ProductSearch::Failed;
    LookBeside(folder, LastPart(name), found);
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

std::vector<double> TransfersOf(const Product& product) {
    std::vector<double> transfers;
    for (const InputBand& band : product.bands)
        if (const auto transfer = PublishedTransfer(product.sensor, band.name))
            transfers.push_back(*transfer);
    if (transfers.size() != product.bands.size()) transfers.clear();
    return transfers;
}

void TakeProduct(const std::string& name, const Product& product, PairRequest& pair, FusionRequest& fusion) {
    pair.product = name;
    pair.pan = product.pan;
    pair.multispectral = product.bands;
    pair.acquired = product.acquired;
    pair.sameFirstCentre = product.sameFirstCentre;
    if (product.noData) pair.noData = product.noData;
    if (product.bitDepth) pair.bitDepth = product.bitDepth;
    const std::vector<double> transfers = TransfersOf(product);
    if (transfers.empty()) return;
    // All bands share one low-pass of pan, so their mean is taken, in thousandths like a measured transfer.
    const double sum = std::accumulate(transfers.begin(), transfers.end(), 0.0);
    fusion.publishedTransfer =
        std::floor(sum / static_cast<double>(transfers.size()) * 1000.0 + 0.5) / 1000.0;
}

} // namespace rasterhost
