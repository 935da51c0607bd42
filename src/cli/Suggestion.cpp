#include "cli/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace cli {

namespace {

/// The number of letters to insert, delete or replace to turn one word into the other.
std::size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string Suggestion(const std::string& typed, const std::vector<std::string>& known) {
    std::size_t best = typed.size() / 3 + 1;
    std::string nearest;
    for (const std::string& name : known) {
        const bool begun = typed.size() > 2 && name.starts_with(typed);
        const std::size_t distance = begun ? 0 : EditDistance(typed, name);
        if (distance < best) {
            best = distance;
            nearest = name;
        }
    }
    return nearest.empty() ? nearest : " (did you mean '" + nearest + "'?)";
}

} // namespace cli
