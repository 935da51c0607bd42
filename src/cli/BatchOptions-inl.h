// Options of "batch", included only by OptionTable.cpp.
#pragma once

#include "cli/SharedOptions-inl.h"

#include <algorithm>
#include <array>

// NOLINTBEGIN(misc-definitions-in-headers): one file includes it.
namespace cli {

namespace {

constexpr std::string_view batchHeading = "Batch";

constexpr PositionalEntry batchPositionals[] = {
    {"LIST",
     "scenes, each a JSON object on a line of its own, in a file that ends in .jsonl: {\"pan\": \"pan.tif\", "
     "\"ms\": [\"ms.tif\"]} or {\"product\": \"FOLDER\"}, and \"output\" and \"options\" if you need them; "
     "docs/batch.md has every key"},
    {"PRODUCT",
     "a scene: a product as it was delivered (a folder, an archive or a metadata file), or a .pansharp file"},
};

constexpr OptionEntry ownBatchOptions[] = {
    {{"-o,--out", "FOLDER", "", batchHeading,
      "the folder to write into: the outputs, and the results in batch.jsonl. It is made if it does not "
      "exist"},
     ReadOutFolder,
     false,
     {},
     "no folder is named; add --out and the folder to write the scenes into"},
    {{"--time-limit", "SECONDS", "none", batchHeading,
      "give up a scene that takes longer, and go on with the next"},
     ReadTimeLimit},
    {{"--again", "", "", batchHeading,
      "also make the scenes again that an earlier run has made; their outputs are replaced"},
     SetFlag<&Arguments::again>},
};

/// How one scene reports; a batch reports in its own way.
constexpr std::string_view notForScenes[] = {"--dry-run", "--verbose",    "--quiet", "--json",
                                             "--simd",    "--status-xml", "--help"};
/// Options that cannot be the same for several scenes, or that the batch has for itself.
constexpr std::string_view notForBatches[] = {"--output",  "--preview", "--preview-at", "--dry-run",
                                              "--verbose", "--json",    "--status-xml"};

constexpr bool IsIn(std::span<const std::string_view> keys, const OptionEntry& option) {
    return std::ranges::find(keys, option.Key()) != keys.end();
}

/// The options of "sharpen" without some of them, with another command's own options inserted before the one
/// with this key.
template <std::size_t N, std::size_t Without, std::size_t Own>
constexpr auto OptionsBeside(const OptionEntry (&sharpen)[N], const std::string_view (&without)[Without],
                             const OptionEntry (&own)[Own], std::string_view before) {
    std::array<OptionEntry, N + Own - Without> all{};
    auto* end = all.data();
    for (const OptionEntry& option : sharpen) {
        if (option.Key() == before) end = std::ranges::copy(own, end).out;
        if (!IsIn(without, option)) *end++ = option;
    }
    return all;
}

} // namespace

} // namespace cli
// NOLINTEND(misc-definitions-in-headers)
