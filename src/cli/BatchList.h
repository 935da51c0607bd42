#pragma once

#include "cli/Arguments.h"

#include <cstddef>
#include <istream>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The scenes of a batch: lines of lists (docs/batch.md), and products on the command line.
namespace cli {

struct BatchScene {
    std::string list;               ///< the list file; empty for a scene of the command line
    std::size_t line = 0;           ///< line number in the list, from 1
    std::vector<std::string> files; ///< inputs as "sharpen" takes them
    std::string output;             ///< relative to the folder of the batch
    std::map<std::string, std::vector<std::string>, std::less<>> options; ///< by long form; a flag has no
                                                                          ///< value
    std::string fault; ///< why this line is not a scene; empty when it is one

    /// The arguments of "sharpen" for this scene, with the output in that folder. Looks at the files. Throws
    /// UsageError.
    [[nodiscard]] Arguments Ask(const std::string& folder) const;
};

/// Reads one line of a list, with the options that apply to all scenes. `line` is empty when it was too long.
/// A line that is not a scene gets a fault.
[[nodiscard]] BatchScene ReadBatchLine(const std::string& list, std::size_t number,
                                       const std::optional<std::string>& line, const CommandLine& forAll);

/// All scenes in order. Throws UsageError for a list that cannot be read, and when two scenes have the same
/// output.
[[nodiscard]] std::vector<BatchScene> ReadBatch(const CommandLine& line);

/// The name of the results file in the folder of a batch. No scene may use it.
inline constexpr const char* batchResultsName = "batch.jsonl";
/// Endings after that name: the note of the outputs being made, and after both the name under which a new
/// note is written. No scene may use these names either.
inline constexpr const char *batchBegunEnding = ".begun", *batchNewEnding = ".new";

/// Reads a line, without its end. False at the end of the stream. A line of more than 1 MiB is cut off, and
/// `isTooLong` is set.
[[nodiscard]] bool ReadBoundedLine(std::istream& stream, std::string& line, bool& isTooLong);

} // namespace cli
