#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// The built command as a child process.
namespace child {

using Arguments = std::vector<std::string>;

struct Outcome {
    int code = -1; ///< exit code, or 1000 and the signal that ended it
    std::string out;
    std::string err;
};

/// A folder of its own for one test, removed with it.
class Folder {
public:
    Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    /// Full name of a file in it.
    [[nodiscard]] std::string operator/(const std::string& name) const { return (path / name).string(); }
    /// Names of all files in it, hidden ones too, sorted, without those that the child printed to.
    [[nodiscard]] std::vector<std::string> List() const;

    std::filesystem::path path;
};

/// A running command. Its working directory is the folder, and its output goes to files there that List()
/// does not show.
class Running {
public:
    /// `plugin` is what the environment names as the plug-in; without it the variable is unset. `out`
    /// replaces the file that standard output goes to. A terminal, when given, is standard error. No file
    /// grows beyond `largestFile` bytes, when that is not 0. No more than `mostThreads` run, when that is not
    /// 0: root, whom no limit binds, becomes another user.
    Running(const Folder& workFolder, const Arguments& arguments,
            const std::optional<std::string>& plugin = {}, const std::string& out = {}, int terminal = -1,
            std::uint64_t largestFile = 0, std::uint64_t mostThreads = 0);
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

/// Looks again and again until the condition holds; false when it does not within a minute.
[[nodiscard]] bool WaitUntil(const std::function<bool()>& condition);

/// All arguments of some lists, in order.
[[nodiscard]] Arguments Concatenate(const std::vector<Arguments>& lists);

/// As one would type them, to name a case.
[[nodiscard]] std::string AsTyped(const Arguments& arguments);

} // namespace child
