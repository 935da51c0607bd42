#include "rasterhost/products/SensorTransfers.h"

#include <cctype>
#include <string>

namespace rasterhost {

namespace {

struct SensorTransfer {
    const char* sensor; ///< in lower case, without separators
    const char* shortName;
    const char* band; ///< null for all bands not listed before
    double transfer;
};

// QuickBird: B. Aiazzi, L. Alparone, S. Baronti, A. Garzelli, M. Selva, MTF-tailored multiscale fusion of
// high-resolution MS and Pan imagery, PE&RS 72 (2006) 591-596. IKONOS, GeoEye-1 and WorldView-2: G. Vivone
// and others, A critical comparison among pansharpening algorithms, IEEE TGRS 53 (2015) 2565-2586.
// WorldView-3: G. Vivone and others, A new benchmark based on recent advances in multispectral pansharpening,
// IEEE GRSM 9 (2021) 53-81.
constexpr SensorTransfer sensorTransfers[] = {
    {"quickbird2", "qb2", "pan", 0.15},      {"quickbird2", "qb2", "blue", 0.34},
    {"quickbird2", "qb2", "green", 0.32},    {"quickbird2", "qb2", "red", 0.30},
    {"quickbird2", "qb2", "nir", 0.22},      {"ikonos2", "ik2", "pan", 0.17},
    {"ikonos2", "ik2", "blue", 0.26},        {"ikonos2", "ik2", "green", 0.28},
    {"ikonos2", "ik2", "red", 0.29},         {"ikonos2", "ik2", "nir", 0.28},
    {"geoeye1", "ge1", "pan", 0.16},         {"geoeye1", "ge1", nullptr, 0.23},
    {"worldview2", "wv2", "pan", 0.11},      {"worldview2", "wv2", "nir2", 0.27},
    {"worldview2", "wv2", nullptr, 0.35},    {"worldview3", "wv3", "pan", 0.14},
    {"worldview3", "wv3", "coastal", 0.325}, {"worldview3", "wv3", "blue", 0.355},
    {"worldview3", "wv3", "green", 0.36},    {"worldview3", "wv3", "yellow", 0.35},
    {"worldview3", "wv3", "red", 0.365},     {"worldview3", "wv3", "rededge", 0.36},
    {"worldview3", "wv3", "nir", 0.335},     {"worldview3", "wv3", "nir2", 0.315},
};

/// Makes "WorldView-02" and "worldview 2" equal.
std::string BareName(std::string_view name) {
    std::string bare;
    for (const char letter : name) {
        const auto code = static_cast<unsigned char>(letter);
        if (std::isalnum(code) &&
            (letter != '0' || (!bare.empty() && std::isdigit(static_cast<unsigned char>(bare.back())))))
            bare += static_cast<char>(std::tolower(code));
    }
    if (bare == "quickbird" || bare == "ikonos") bare += "2"; // the first satellite of each was lost
    return bare;
}

} // namespace

std::optional<double> PublishedTransfer(std::string_view sensor, std::string_view band) {
    const std::string name = BareName(sensor);
    for (const SensorTransfer& known : sensorTransfers)
        if ((name == known.sensor || name == known.shortName) && (!known.band || band == known.band))
            return known.transfer;
    return std::nullopt;
}

} // namespace rasterhost
