#pragma once

#include "cli/CommandLine.h"
#include "cli/RunWeights.h"
#include "rasterhost/assessing/Compare.h"
#include "rasterhost/assessing/Preview.h"
#include "rasterhost/products/FindProduct.h"
#include "rasterhost/serving/RecordedScene.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cli {

/// The contents of a command line, with a field for each option. A command uses the requests that it needs.
struct Arguments : rasterhost::SharpenRequest,
                   rasterhost::BlurOptions,
                   rasterhost::AssessOptions,
                   rasterhost::CompareOptions {
    CommandLine line; ///< for questions about what was typed
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    bool dryRun = false;
    std::string statusXml;             ///< file to write; empty for none
    std::optional<RunWeights> earlier; ///< the run that weights were taken from
    std::optional<rasterhost::PreviewRequest> preview;
    std::string folder;                ///< output folder of a batch
    double timeLimit = 0.0;            ///< seconds for each scene of a batch; 0 for no limit
    bool again = false;                ///< a batch also makes again what it has made before
    std::string listen = "127.0.0.1";  ///< address to serve at
    std::optional<std::uint16_t> port; ///< if unset, the usual one, or any free one
    bool opensBrowser = false;
    std::optional<rasterhost::Product> foundProduct; ///< the product that the pair comes from
    std::optional<rasterhost::SceneRecord> scene;    ///< described by a file, instead of a pair
};

/// Reads the inputs and then every typed option: first those in the order that the command requires, then the
/// others in the order of the table. Throws UsageError.
[[nodiscard]] Arguments ReadArguments(const CommandLine& line);

} // namespace cli
