#pragma once

#include "cli/JsonParts.h"
#include "cli/Platform.h"

#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace cli {

/// The results of a batch: a file with one line of JSON each, to which lines are only appended. The last line
/// that says that an output is done counts, so a failed run does not invalidate an earlier result. Only one
/// batch at a time may use the file.
class BatchResults {
public:
    /// Reads the results of earlier runs. Throws UsageError when another batch uses the file, and
    /// std::runtime_error when it cannot be written.
    explicit BatchResults(const std::string& file);

    /// The result of an output that is done; empty when there is none.
    [[nodiscard]] std::optional<Json> FindDone(const std::string& output) const;
    /// Appends a line; it is in the file on return. Throws std::runtime_error.
    void Add(const Json& result);

    /// True for an output that a killed run had begun: the file may exist although no line says so.
    [[nodiscard]] bool WasBegun(const std::string& output) const { return left.contains(output); }
    /// Notes, in a file beside the results, that an output is being made, so that what a killed run leaves is
    /// known to belong to this batch. Does nothing when a file already has the output's name: either a line
    /// says that it is the batch's, or it belongs to others. Throws std::runtime_error.
    void Begin(const std::string& output);
    /// Removes the note once the output has a line or was not made. If it was not made, what a killed run had
    /// left is still there and stays noted. Throws std::runtime_error.
    void End(const std::string& output, bool isMade);

    /// A result as one line, without a line end.
    [[nodiscard]] static std::string Print(const Json& result);

private:
    void WriteBegun() const;

    std::string name;
    platform::FileLock lock;
    std::map<std::string, std::streamoff> done; ///< by output: where its line begins in the file
    std::set<std::string> left;                 ///< outputs that a killed run had begun
    std::set<std::string> begun;
    std::ofstream stream;
};

} // namespace cli
