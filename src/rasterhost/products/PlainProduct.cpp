#include "fundament/Text.h"
#include "rasterhost/products/ProductKinds.h"
#include "rasterhost/products/ProductParts.h"
#include "rasterhost/reading/BandNames.h"

#include <algorithm>
#include <map>
#include <set>

namespace rasterhost {

using KOVA::Tessara::Fundament::ToLower;

namespace {

/// Words for a file with all multispectral bands.
constexpr const char* wordsForAllBands[] = {"ms", "mul", "multi", "multispectral", "xs", "mss"};

constexpr const char* betweenWords = "_-. ";

using CutWord = std::pair<std::string, std::string>;

/// What stands before the last word of a stem, and that word in small letters.
CutWord CutLastWord(const std::string& stem) {
    const std::size_t at = stem.find_last_of(betweenWords);
    if (at == std::string::npos) return {"", ToLower(stem)};
    return {stem.substr(0, at), ToLower(stem.substr(at + 1))};
}

/// What stands behind the first word of a stem, and that word in small letters.
CutWord CutFirstWord(const std::string& stem) {
    const std::size_t at = stem.find_first_of(betweenWords);
    if (at == std::string::npos) return {"", ToLower(stem)};
    return {stem.substr(at + 1), ToLower(stem.substr(0, at))};
}

bool IsAllBands(const std::string& word) {
    for (const char* each : wordsForAllBands)
        if (word == each) return true;
    return false;
}

/// Names of the bands of a file that is called by their first letters, as "bgrn"; none for another word.
std::vector<std::string> NamesOfLetters(const std::string& word) {
    constexpr std::size_t most = 4;
    std::vector<std::string> names;
    for (const char letter : word)
        if (const std::string name = std::string_view("rgbn").find(letter) == std::string_view::npos
                                         ? std::string()
                                         : FindBandName(std::string(1, letter));
            !name.empty() && std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    if (word.size() < 3 || word.size() > most || names.size() != word.size()) names.clear();
    return names;
}

/// Adds the products whose files have the name of their band where `cut` takes it from.
void FindNamed(const ProductFiles& files, CutWord (*cut)(const std::string& stem),
               std::vector<Product>& found) {
    std::map<std::string, Product> products;
    for (const std::string& name : files.GetNames()) {
        if (!IsRasterName(name)) continue;
        auto [others, word] = cut(StemPart(name));
        if (const auto [rest, next] = cut(others); IsAllBands(next)) others = rest; // as in ms_bgrn
        const std::string band = FindBandName(word);
        const std::vector<std::string> letters = NamesOfLetters(word);
        const bool isKnown = (!band.empty() && word.size() > 1) || IsAllBands(word) || !letters.empty();
        if (!isKnown) continue;
        Product& product = products[FolderPart(name) + others];
        product.name = others;
        const std::string path = files.PathOf(name);
        if (!letters.empty()) {
            for (std::size_t i = 0; i < letters.size(); ++i)
                product.bands.push_back({path, static_cast<int>(i) + 1, letters[i]});
        } else if (IsAllBands(word)) {
            product.bands.push_back({path, {}});
        } else if (band == "pan") {
            if (!product.pan.file.empty())
                product.fault = "'" + product.pan.file + "' and '" + path + "' are both called pan";
            product.pan = {path, {}, "pan"};
        } else if (band == "thermal" || band == "cirrus") {
            product.leftOut.emplace_back(LastPart(name), band + ": pan does not see that light");
        } else {
            product.bands.push_back({path, {}, band});
        }
    }
    for (auto& [key, product] : products) {
        if (product.pan.file.empty()) continue; // without pan it is only a picture
        product.kind = "folder with the names of bands";
        if (product.bands.empty()) product.fault = "it has a pan and no multispectral bands beside it";
        std::set<std::string> names;
        for (const InputBand& band : product.bands)
            names.insert(band.name);
        if (names.size() < product.bands.size() || (names.contains("") && names.size() > 1))
            product.fault =
                "several of its files may be the multispectral bands; name those to take: PAN MS ...";
        SortBySpectrum(product.bands);
        found.push_back(std::move(product));
    }
}

} // namespace

/// pan.tif, red.tif, green.tif, ...; or pan.tif and ms.tif; all with the same words before, or else behind.
void FindPlain(const ProductFiles& files, std::vector<Product>& found) {
    FindNamed(files, CutLastWord, found);
    if (found.empty()) FindNamed(files, CutFirstWord, found);
}

} // namespace rasterhost
