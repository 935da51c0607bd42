#pragma once

#include "cli/BatchList.h"
#include "cli/JsonParts.h"

#include <functional>
#include <optional>
#include <string>

namespace cli {

/// How a batch makes its scenes.
struct BatchRun {
    std::string folder;     ///< of the outputs
    double timeLimit = 0.0; ///< seconds that a scene may take; 0 for any
    bool again = false;     ///< also what is done already
    /// Called with the fraction done of a scene; false ends it. May be empty.
    std::function<bool(double)> progress;
    std::function<void()> begin; ///< called before the output is made; may be empty
    bool isOwn = false;          ///< what has the name of the output already was made by this batch
};

/// Makes a scene and gives its line of the results, without the keys "scene" and "of"; none when it was
/// cancelled. `done` is the line of an earlier run that made this output, which holds where nothing has
/// changed. Nothing is printed; a failure stands in the line, and in `status`.
[[nodiscard]] std::optional<Json> RunBatchScene(const BatchScene& scene, const BatchRun& how,
                                                const std::optional<Json>& done,
                                                KOVA::Tessara::Fundament::Status& status);

} // namespace cli
