#include "fundament/Text.h"
#include "rasterhost/products/ProductKinds.h"
#include "rasterhost/products/ProductParts.h"
#include "rasterhost/reading/BandNames.h"
#include "rasterhost/reading/NetworkFile.h"

#include <algorithm>
#include <cmath>

namespace rasterhost {

using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::ToLower;

namespace {

/// The name of an asset's address for GDAL; empty for one that is not used.
std::string PathOfAddress(const ProductFiles& files, const std::string& item, const std::string& address) {
    if (std::string name = NameForGdal(address); name != address) return name;
    if (constexpr std::size_t scheme = 7; files.IsListed() && StartsWith(address, "file:///", true))
        return PathOfAddress(files, item, address.substr(scheme));
    if (address.find("://") != std::string::npos || StartsWith(address, "/vsi", true)) return {};
    // Files on a server are only requested when they are opened.
    const auto beside = files.IsListed() ? files.FindBeside(item, address) : std::nullopt;
    if (beside) return files.PathOf(*beside);
    if (files.IsOfArchive() || address.empty()) return {};
    return address.starts_with('/') ? address : files.PathOf(FolderPart(item) + address);
}

/// The name of a band of an asset: from "eo:bands" and "raster:bands" in 1.0, from "bands" in 1.1.
std::string StacName(const Metadata& band) {
    for (const char* key : {"eo:common_name", "common_name", "name", "description"})
        if (std::string name = FindBandName(band.Get(key)); !name.empty()) return name;
    const auto wavelength = band.GetNumber("eo:center_wavelength");
    const auto before = band.GetNumber("center_wavelength");
    return NameOfWavelength(wavelength.value_or(before.value_or(0.0)));
}

bool HasRole(const Metadata& asset, const char* wanted) {
    const Metadata* roles = asset.Find("roles");
    return roles &&
           std::ranges::any_of(roles->parts, [&](const Metadata& role) { return role.text == wanted; });
}

/// Keeps a number that is the same for all bands.
void Agree(const std::optional<double>& number, bool isFirst, std::optional<double>& all) {
    if (isFirst || all != number) all = isFirst ? number : std::nullopt;
}

class ItemReader {
public:
    ItemReader(const ProductFiles& productFiles, std::string name, Product& stacProduct)
        : files(productFiles), item(std::move(name)), product(stacProduct) {}

    void Read(const Metadata& json) {
        product.name = json.Get("id");
        const std::string platform = json.Get("properties/platform");
        product.kind = "STAC item" + (platform.empty() ? "" : " of " + platform);
        product.sensor = platform;
        product.acquired = json.Get("properties/datetime");
        if (product.acquired.empty()) product.acquired = json.Get("properties/start_datetime");
        if (const Metadata* assets = json.Find("assets"))
            for (const Metadata& asset : assets->parts)
                ReadAsset(asset);
        SortBySpectrum(product.bands);
        if (noData) product.noData = noData;
        if (bits && *bits >= 9.0 && *bits <= 15.0) product.bitDepth = static_cast<int>(*bits);
        if (product.pan.file.empty())
            product.fault =
                panFault.empty() ? "none of its assets has a band of the common name 'pan'" : panFault;
    }

private:
    void ReadAsset(const Metadata& asset) {
        const Metadata* bands = asset.Find("bands");
        if (!bands) bands = asset.Find("eo:bands");
        const bool isPicture =
            HasRole(asset, "thumbnail") || HasRole(asset, "overview") || HasRole(asset, "visual");
        if (!bands || bands->parts.empty()) return; // metadata, for example
        if (isPicture || HasRole(asset, "metadata"))
            return LeaveOut(asset, "a picture to look at, or metadata");
        const std::string path = PathOfAddress(files, item, asset.Get("href"));
        if (path.empty()) {
            const std::string why = "its link '" + asset.Get("href") + "' is of a kind that is not supported";
            if (StacName(bands->parts.front()) == "pan") panFault = "of the pan asset, " + why;
            return LeaveOut(asset, why);
        }
        const Metadata* samples = asset.Find("raster:bands");
        for (std::size_t i = 0; i < bands->parts.size(); ++i) {
            const Metadata& band = bands->parts[i];
            const Metadata& values = samples && i < samples->parts.size() ? samples->parts[i] : band;
            TakeBand(asset, band, values, {path, static_cast<int>(i) + 1});
        }
    }
    void TakeBand(const Metadata& asset, const Metadata& band, const Metadata& values, InputBand input) {
        input.name = StacName(band);
        input.wavelength = band.GetNumber("eo:center_wavelength");
        if (!input.wavelength) input.wavelength = band.GetNumber("center_wavelength");
        if (input.name.empty()) return LeaveOut(asset, "nothing says what light its band sees");
        if (input.name == "thermal" || input.name == "cirrus")
            return LeaveOut(asset, input.name + ": pan does not see that light");
        const bool isPan = input.name == "pan";
        if (isPan ? !product.pan.file.empty()
                  : std::ranges::count(product.bands, input.name, &InputBand::name) > 0)
            return LeaveOut(asset, "another asset has the band '" + input.name + "'");
        const bool isFirst = product.pan.file.empty() && product.bands.empty();
        // Since 1.1, values common to all bands may be given at the asset.
        const auto number = [&](const std::string& key) {
            for (const Metadata* of : {&values, &asset})
                for (const char* prefix : {"raster:", ""})
                    if (const auto own = of->GetNumber(prefix + key)) return own;
            return std::optional<double>();
        };
        Agree(number("nodata"), isFirst, noData);
        Agree(number("bits_per_sample"), isFirst, bits);
        const SampleMeaning meaning{number("scale").value_or(1.0), number("offset").value_or(0.0)};
        if (meaning.scale != 0.0 && meaning != SampleMeaning()) input.meaning = meaning;
        if (isPan)
            product.pan = std::move(input);
        else
            product.bands.push_back(std::move(input));
    }
    void LeaveOut(const Metadata& asset, const std::string& why) {
        product.leftOut.emplace_back("asset '" + asset.name + "'", why);
    }

    const ProductFiles& files;
    std::string item;
    Product& product;
    std::optional<double> noData, bits;
    std::string panFault;
};

} // namespace

void FindStac(const ProductFiles& files, std::vector<Product>& found) {
    for (const std::string& name : files.GetNames()) {
        const std::string small = ToLower(name);
        if (!small.ends_with(".json") && !small.ends_with(".geojson")) continue;
        Product product;
        product.kind = "STAC item";
        product.name = StemPart(name);
        product.metadata = {name};
        const auto json = files.Read(name, product.fault);
        // A folder may contain other JSON files, and catalogues have no assets.
        if (!json || json->Get("stac_version").empty() || !json->Find("assets")) continue;
        ItemReader(files, name, product).Read(*json);
        found.push_back(std::move(product));
    }
}

} // namespace rasterhost
