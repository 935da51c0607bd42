#pragma once

#include "cli/Arguments.h"

#include <cstddef>
#include <istream>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The scenes of a batch: lines of lists (docs/batch.md) and products of the command line.
namespace cli {

struct BatchScene {
    std::string list;               ///< the file; empty for a scene of the command line
    std::size_t line = 0;           ///< of it, from 1
    std::vector<std::string> files; ///< as "sharpen" takes them
    std::string output;             ///< relative to the folder of the batch
    std::map<std::string, std::vector<std::string>, std::less<>> options; ///< by long form; none for a flag
    std::string fault; ///< why this line is not a scene; empty when it is one

    /// What "sharpen" would be asked, with the output in that folder. Looks at the files. Throws UsageError.
    [[nodiscard]] Arguments Ask(const std::string& folder) const;
};

/// One line of a list, none where it is too long, with the options that hold for all. A line that is not a
/// scene has a fault.
[[nodiscard]] BatchScene ReadBatchLine(const std::string& list, std::size_t number,
                                       const std::optional<std::string>& line, const CommandLine& forAll);

/// All scenes in order. Throws UsageError for a list that cannot be read, and for two scenes of one output.
[[nodiscard]] std::vector<BatchScene> ReadBatch(const CommandLine& line);

/// The name of the results in the folder of a batch, which no scene takes.
inline constexpr const char* batchResultsName = "batch.jsonl";
/// Behind it: the name of the note which outputs are being made, and behind that the name under which the
/// note is written; likewise.
inline constexpr const char *batchBegunEnding = ".begun", *batchNewEnding = ".new";

/// Reads a line, without its end. False at the end of the stream. A line of more than 1 MiB is cut there, and
/// `isTooLong` is set.
[[nodiscard]] bool ReadBoundedLine(std::istream& stream, std::string& line, bool& isTooLong);

} // namespace cli
