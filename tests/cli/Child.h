#pragma once

#include "support/RasterFiles.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// The built command as a child process.
namespace child {

/// Arguments one by one, or as one line separated by spaces, in which '' is an empty argument.
struct Arguments : std::vector<std::string> {
    using vector::vector;
    Arguments(const char* line);
};
[[nodiscard]] Arguments operator+(Arguments first, const Arguments& more);

struct Outcome {
    int code = -1; ///< exit code, or 1000 and the signal that ended it
    std::string out;
    std::string err;
};

using testfiles::Folder;

/// A terminal for a command to run at.
struct Terminal {
    unsigned short columns = 80;
    bool showsOutput = true; ///< standard output, too; else standard error only
    int descriptor = -1;     ///< of the side that reads what it shows
};

/// A running command. Its working directory is the folder; its output goes to files there that List() does
/// not show.
class Running {
public:
    /// `plugin` is the plug-in named by the environment; without it the variable is unset. `out` replaces the
    /// file for standard output. No file may grow beyond `largestFile` bytes, if that is not 0. At most
    /// `mostThreads` threads may run, if that is not 0; since no limit applies to root, the command then runs
    /// as another user.
    Running(const Folder& workFolder, const Arguments& arguments,
            const std::optional<std::string>& plugin = {}, const std::string& out = {},
            Terminal* terminal = nullptr, std::uint64_t largestFile = 0, std::uint64_t mostThreads = 0);
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    [[nodiscard]] std::string ErrorsSoFar() const;
    void Signal(int number) const;
    /// Waits for its end.
    Outcome Finish();

private:
    const Folder& folder;
    pid_t id = -1;
};

[[nodiscard]] Outcome Run(const Folder& folder, const Arguments& arguments,
                          const std::optional<std::string>& plugin = {}, const std::string& out = {});

/// Runs a command that must end with 0: an exception fails the test.
Outcome RunWell(const Folder& folder, const Arguments& arguments,
                const std::optional<std::string>& plugin = {});

/// Runs at a terminal: `out` is what it showed. A key, if given, answers the question that ends in "[N] ".
[[nodiscard]] Outcome RunAt(Terminal terminal, const Folder& folder, const Arguments& arguments,
                            char key = 0);

/// Polls until the condition holds. False when it does not within a minute.
[[nodiscard]] bool WaitUntil(const std::function<bool()>& condition);

/// The arguments as typed, to name a case.
[[nodiscard]] std::string AsTyped(const Arguments& arguments);

} // namespace child
