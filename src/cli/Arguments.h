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

/// What a command line asks for, each option in a field of its own. A command uses the requests that it
/// needs.
struct Arguments : rasterhost::SharpenRequest,
                   rasterhost::BlurOptions,
                   rasterhost::AssessOptions,
                   rasterhost::CompareOptions {
    CommandLine line; ///< for what was typed at all
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    bool dryRun = false;
    std::string statusXml;             ///< file to write; empty for none
    std::optional<RunWeights> earlier; ///< run that weights were taken from
    std::optional<rasterhost::PreviewRequest> preview;
    std::string folder;                ///< of a batch
    double timeLimit = 0.0;            ///< seconds for each scene of a batch; 0 for none
    bool again = false;                ///< a batch makes what it has made before, too
    std::string listen = "127.0.0.1";  ///< address to serve at
    std::optional<std::uint16_t> port; ///< without one a usual one, or any that is free
    bool opensBrowser = false;
    std::optional<rasterhost::Product> foundProduct; ///< that the pair was taken from
    std::optional<rasterhost::SceneRecord> scene;    ///< that a file describes, instead of a pair
};

/// Reads the inputs and then every option that was typed: those that the command has to have in order first,
/// the others in the order of the table. Throws UsageError.
[[nodiscard]] Arguments ReadArguments(const CommandLine& line);

} // namespace cli
