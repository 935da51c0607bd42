#pragma once

#include "Image.h"

#include <optional>
#include <ostream>

namespace demo {

/// An image to judge. Its band i shows the truth's band `truthBands[i]`, counted from 0.
struct Candidate {
    std::string name;
    Image image;
    std::vector<std::size_t> truthBands;
};

/// Root-mean-square errors in grey levels, one per band of the truth; empty for a band that is not shown.
/// Throws std::runtime_error if sizes or numbers of bands differ.
[[nodiscard]] std::vector<std::optional<double>> RootMeanSquareErrors(const Image& truth,
                                                                      const Candidate& candidate);

/// Prints a table of the errors, and then in words which bands of each candidate are worse than in the first.
void PrintQuality(std::ostream& out, const Image& truth, const std::vector<std::string>& bandNames,
                  const std::vector<Candidate>& candidates);

} // namespace demo
