#include "Quality.h"

#include <cmath>
#include <iomanip>
#include <stdexcept>

namespace demo {
namespace {

constexpr int nameWidth = 32;
constexpr int figureWidth = 15;

double RootMeanSquareError(const std::vector<std::uint8_t>& truth, const std::vector<std::uint8_t>& image) {
    double sum = 0.0;
    for (std::size_t pixel = 0; pixel < truth.size(); ++pixel) {
        const double difference = static_cast<double>(image[pixel]) - truth[pixel];
        sum += difference * difference;
    }
    return std::sqrt(sum / static_cast<double>(truth.size()));
}

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    return text;
}

} // namespace

std::vector<std::optional<double>> RootMeanSquareErrors(const Image& truth, const Candidate& candidate) {
    const Image& image = candidate.image;
    if (image.columns != truth.columns || image.rows != truth.rows)
        throw std::runtime_error(candidate.name + ": its size is not the truth's");
    if (image.bands.size() != candidate.truthBands.size())
        throw std::runtime_error(candidate.name + ": it has " + std::to_string(image.bands.size()) +
                                 " bands, not " + std::to_string(candidate.truthBands.size()));
    std::vector<std::optional<double>> errors(truth.bands.size());
    for (std::size_t band = 0; band < image.bands.size(); ++band) {
        const std::size_t truthBand = candidate.truthBands[band];
        errors.at(truthBand) = RootMeanSquareError(truth.bands.at(truthBand), image.bands[band]);
    }
    return errors;
}

void PrintQuality(std::ostream& out, const Image& truth, const std::vector<std::string>& bandNames,
                  const std::vector<Candidate>& candidates) {
    out << std::fixed << std::setprecision(2) << std::left << std::setw(nameWidth) << "" << std::right;
    for (const std::string& name : bandNames)
        out << std::setw(figureWidth) << name;
    out << '\n';

    std::vector<std::optional<double>> first;
    std::string verdicts;
    for (const Candidate& candidate : candidates) {
        const auto errors = RootMeanSquareErrors(truth, candidate);
        if (first.empty()) first = errors;
        std::vector<std::string> better, worse;
        out << std::left << std::setw(nameWidth) << candidate.name << std::right;
        for (std::size_t band = 0; band < errors.size(); ++band) {
            out << std::setw(figureWidth);
            if (!errors[band]) {
                out << "-";
                continue;
            }
            out << *errors[band];
            if (*errors[band] < first[band]) better.push_back(bandNames[band]);
            if (*errors[band] > first[band]) worse.push_back(bandNames[band]);
        }
        out << '\n';
        if (!better.empty()) verdicts += candidate.name + " helps in " + Listed(better) + ".\n";
        if (!worse.empty())
            verdicts +=
                candidate.name + " is WORSE than " + candidates[0].name + " in " + Listed(worse) + ".\n";
    }
    out << '\n' << verdicts;
}

} // namespace demo
