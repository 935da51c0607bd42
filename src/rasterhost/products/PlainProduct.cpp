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

/// The part of a stem before its last word, and that word in lower case.
CutWord CutLastWord(const std::string& stem) {
    const std::size_t at = stem.find_last_of(betweenWords);
    if (at == std::string::npos) return {"", ToLower(stem)};
    return {stem.substr(0, at), ToLower(stem.substr(at + 1))};
}

/// The part of a stem after its first word, and that word in lower case.
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

/// Band names for a file named by their first letters, such as "bgrn"; empty for any other word.
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

/// The only word of a stem that names a band or all bands, and the parts around it.
CutWord CutOnlyWord(const std::string& stem) {
    CutWord cut;
    for (std::size_t from = 0, to = 0; to != std::string::npos; from = to + 1) {
        to = stem.find_first_of(betweenWords, from);
        const std::string word = ToLower(stem.substr(from, to - from));
        if (!IsAllBands(word) && (word.size() < 2 || FindBandName(word).empty())) continue;
        if (!cut.second.empty()) return {};
        cut = {stem.substr(0, from) + '*' + (to == std::string::npos ? "" : stem.substr(to)), word};
    }
    return cut;
}

/// A file, and the word in its name that tells its content.
using WordFile = std::pair<std::string, std::string>;

/// A single letter is a name only together with others: p beside bands, and r, g and b together.
void DropLetters(std::vector<WordFile>& files) {
    const auto has = [&](const char* word) { return std::ranges::count(files, word, &WordFile::second) > 0; };
    const bool hasColours = has("r") && has("g") && has("b");
    const bool hasWords = std::ranges::any_of(
        files, [](const WordFile& file) { return file.second.size() > 1 && file.second != "pan"; });
    std::erase_if(files, [&](const WordFile& file) {
        return file.second.size() == 1 && !(hasColours || (file.second == "p" && hasWords));
    });
}

void TakeFile(const std::string& path, const std::string& word, Product& product) {
    const std::string band = FindBandName(word);
    const std::vector<std::string> letters = NamesOfLetters(word);
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
        product.leftOut.emplace_back(LastPart(path), band + ": pan does not see that light");
    } else {
        product.bands.push_back({path, {}, band});
    }
}

/// Reports files that may be the same bands.
void CheckNamedBands(Product& product) {
    if (product.bands.empty()) product.fault = "it has a pan and no multispectral bands beside it";
    std::set<std::string> names, files;
    for (const InputBand& band : product.bands) {
        names.insert(band.name);
        files.insert(LastPart(band.file));
    }
    if (names.size() == product.bands.size() && (!names.contains("") || names.size() == 1)) return;
    product.fault = "several of its files may be the multispectral bands:";
    for (const std::string& file : files)
        product.fault += " '" + file + "'";
    product.fault += "; name those to take: PAN MS ...";
}

/// Adds the products whose files have the name of their band where `cut` looks for it.
void FindNamed(const ProductFiles& files, CutWord (*cut)(const std::string& stem),
               std::vector<Product>& found) {
    std::map<std::string, std::vector<WordFile>> scenes;
    for (const std::string& name : files.GetNames()) {
        if (!IsRasterName(name)) continue;
        auto [others, word] = cut(StemPart(name));
        if (const auto [rest, next] = cut(others); IsAllBands(next)) others = rest; // such as ms_bgrn
        if (IsAllBands(word) || !FindBandName(word).empty() || !NamesOfLetters(word).empty())
            scenes[FolderPart(name) + others].emplace_back(name, word);
    }
    for (auto& [key, named] : scenes) {
        DropLetters(named);
        Product product;
        product.name = LastPart(key);
        for (const auto& [name, word] : named)
            TakeFile(files.PathOf(name), word, product);
        if (product.pan.file.empty()) continue; // without pan it is just an image
        product.kind = "folder with the names of bands";
        CheckNamedBands(product);
        SortBySpectrum(product.bands);
        found.push_back(std::move(product));
    }
}

} // namespace

/// pan.tif, red.tif, green.tif, ...; or pan.tif and ms.tif. The other words of all names must be the same,
/// and stand before, after or around the band's.
void FindPlain(const ProductFiles& files, std::vector<Product>& found) {
    for (const auto cut : {CutLastWord, CutFirstWord, CutOnlyWord})
        if (found.empty()) FindNamed(files, cut, found);
}

} // namespace rasterhost
