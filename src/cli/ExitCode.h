#pragma once

#include <stdexcept>

namespace cli {

enum ExitCode : int {
    Done = 0,
    WorkFailed = 1,
    WrongCommandLine = 2,
    Interrupted = 130,
};

/// Thrown for errors of the command line; the text says what is wrong and what to type instead.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace cli
