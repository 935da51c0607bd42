#pragma once

#include "cli/BatchList.h"
#include "cli/JsonParts.h"

#include <functional>
#include <optional>
#include <string>

namespace cli {

/// How a batch processes its scenes.
struct BatchRun {
    std::string folder;     ///< of the outputs
    double timeLimit = 0.0; ///< seconds per scene; 0 for no limit
    bool again = false;     ///< also process what is already done
    /// Called with the fraction done of a scene; returning false cancels. May be empty.
    std::function<bool(double)> progress;
    std::function<void()> begin; ///< called before the output is made; may be empty
    bool isOwn = false;          ///< an existing file with the output's name was made by this batch
};

/// Processes a scene and returns its line of the results, without the keys "scene" and "of"; empty when it
/// was cancelled. `done` is the line of an earlier run that made this output; it is reused if nothing has
/// changed. Nothing is printed; a failure is in the line, and in `status`.
[[nodiscard]] std::optional<Json> RunBatchScene(const BatchScene& scene, const BatchRun& how,
                                                const std::optional<Json>& done,
                                                KOVA::Tessara::Fundament::Status& status);

} // namespace cli
