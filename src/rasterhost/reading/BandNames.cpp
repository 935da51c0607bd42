#include "rasterhost/reading/BandNames.h"

#include <algorithm>
#include <cctype>
#include <span>

namespace rasterhost {

namespace {

struct BandName {
    std::string_view name;
    /// Other spellings, separated by spaces, in lower case, without anything but letters and digits.
    std::string_view others;
    double least, greatest; ///< central wavelength in micrometres; equal if it does not tell the name
    GDALColorInterp colour = GCI_Undefined;
};

// Parts of the spectrum as in the common band names of the STAC extension "eo", cut where they overlap.
constexpr BandName knownNames[] = {
    {"coastal", "coastalaerosol coastalblue deepblue ultrablue violet", 0.40, 0.45},
    {"blue", "b blau bleu", 0.45, 0.51, GCI_BlueBand},
    {"green", "g gruen grun vert", 0.51, 0.58, GCI_GreenBand},
    {"yellow", "y", 0.58, 0.62},
    {"red", "r rot rouge", 0.62, 0.69, GCI_RedBand},
    {"rededge", "re", 0.69, 0.76},
    {"nir", "n ir nearinfrared nearir infrared nir1 nir08 nearinfrared1 nearir1", 0.76, 0.92},
    {"nir2", "nearinfrared2 nearir2 nir09", 0.92, 1.10},
    {"cirrus", "", 1.35, 1.40},
    {"swir1", "swir16 shortwaveinfrared1 shortwaveir1", 1.50, 1.80},
    {"swir2", "swir22 shortwaveinfrared2 shortwaveir2", 2.00, 2.40},
    {"thermal", "lwir lwir11 lwir12 tir tirs thermalinfrared", 8.00, 13.0},
    {"pan", "p panchromatic pansharpening", 0.0, 0.0},
};

/// True for one of the words separated by spaces.
bool HasWord(std::string_view words, std::string_view word) {
    while (!words.empty()) {
        const std::size_t end = std::min(words.find(' '), words.size());
        if (words.substr(0, end) == word) return true;
        words.remove_prefix(std::min(end + 1, words.size()));
    }
    return false;
}

const BandName* FindKnown(std::string_view word) {
    for (const BandName& known : knownNames)
        if (word == known.name || HasWord(known.others, word)) return &known;
    return nullptr;
}

/// Splits at everything that is neither letter nor digit, in lower case.
std::vector<std::string> WordsOf(std::string_view text) {
    std::vector<std::string> words(1);
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (std::isalnum(code) || code >= 0x80)
            words.back() += static_cast<char>(std::tolower(code));
        else if (!words.back().empty())
            words.emplace_back();
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

std::string JoinWords(std::span<const std::string> words) {
    std::string joined;
    for (const std::string& word : words)
        joined += word;
    return joined;
}

constexpr std::size_t mostWords = 3; // of a name

} // namespace

std::string FindBandName(std::string_view text) {
    const BandName* known = FindKnown(JoinWords(WordsOf(text)));
    return std::string(known ? known->name : "");
}

std::string NameInDescription(std::string_view description) {
    if (std::string whole = FindBandName(description); !whole.empty()) return whole;
    const std::vector<std::string> words = WordsOf(description);
    const BandName* found = nullptr;
    for (std::size_t first = 0; first < words.size();) {
        std::size_t count = std::min(mostWords, words.size() - first);
        const BandName* known = nullptr;
        for (; count > 0 && !known; --count)
            if (const std::string word = JoinWords(std::span(words).subspan(first, count)); word.size() > 2)
                known = FindKnown(word);
        if (known && found && known != found) return {};
        if (known) found = known;
        first += known ? count + 1 : 1;
    }
    return std::string(found ? found->name : "");
}

std::string NameAtEnd(std::string_view stem) {
    const std::vector<std::string> words = WordsOf(stem);
    for (std::size_t count = std::min(mostWords, words.size()); count > 0; --count)
        if (const std::string word = JoinWords(std::span(words).last(count)); word.size() > 2)
            if (const BandName* known = FindKnown(word)) return std::string(known->name);
    return {};
}

std::string NameOfWavelength(double micrometres) {
    for (const BandName& known : knownNames)
        if (micrometres >= known.least && micrometres < known.greatest) return std::string(known.name);
    return {};
}

GDALColorInterp ColourOfName(std::string_view name) {
    for (const BandName& known : knownNames)
        if (known.name == name) return known.colour;
    return GCI_Undefined;
}

std::string NameOfColour(GDALColorInterp colour) {
    for (const BandName& known : knownNames)
        if (colour != GCI_Undefined && known.colour == colour) return std::string(known.name);
    return {};
}

std::vector<std::string> AllBandNames() {
    std::vector<std::string> names;
    for (const BandName& known : knownNames)
        names.emplace_back(known.name);
    return names;
}

} // namespace rasterhost
