#pragma once

#include "cli/JsonParts.h"
#include "cli/Platform.h"

#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace cli {

/// The results of a batch, a line of JSON each, in a file that is only ever added to. The last one that
/// says that an output is done holds: a run that fails leaves the file as it was. One batch at a time has it.
class BatchResults {
public:
    /// Reads what earlier runs have left. Throws UsageError when another batch has it, and std::runtime_error
    /// when it cannot be written.
    explicit BatchResults(const std::string& file);

    /// The result of an output that is done; none when there is no such line.
    [[nodiscard]] std::optional<Json> FindDone(const std::string& output) const;
    /// Adds a line, which is in the file when it returns. Throws std::runtime_error.
    void Add(const Json& result);

    /// True for an output that a killed run had begun: it may be there, though no line says so.
    [[nodiscard]] bool WasBegun(const std::string& output) const { return left.contains(output); }
    /// Notes beside the results that an output is being made: what a kill before its line leaves belongs to
    /// this batch. Does nothing where a file has that name: a line tells whose it is, or it is one of others.
    /// Throws std::runtime_error.
    void Begin(const std::string& output);
    /// Takes the note away: the output has a line, or was not made. What a killed run has left is still there
    /// when it was not made, and stays noted. Throws std::runtime_error.
    void End(const std::string& output, bool isMade);

    /// A result in one line, without its end.
    [[nodiscard]] static std::string Print(const Json& result);

private:
    void WriteBegun() const;

    std::string name;
    platform::FileLock lock;
    std::map<std::string, std::streamoff> done; ///< where lines begin, by output
    std::set<std::string> left;                 ///< outputs that a killed run had begun
    std::set<std::string> begun;
    std::ofstream stream;
};

} // namespace cli
