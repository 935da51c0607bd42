#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

/// What the standard library cannot do. One file per platform.
namespace KOVA::Tessara::Fundament::Platform {

/// The numbers are the classic access modes.
enum class Access { Exists = 0, Write = 2, Read = 4, ReadWrite = 6 };

/// Whether the process, with its effective user, has this access to an existing path.
[[nodiscard]] bool CanAccess(const std::string& path, Access access);

/// A path from its bytes, and back. On Windows the bytes are UTF-8 or, if not valid UTF-8, text in the
/// system's code page; elsewhere the bytes are the path.
[[nodiscard]] std::filesystem::path ToPath(const std::string& bytes);
[[nodiscard]] std::string FromPath(const std::filesystem::path& path);

/// The value of an environment variable; an empty text when it is not set.
[[nodiscard]] std::string Environment(const char* name);

/// When a file was last written, rounded up to milliseconds. Empty for a folder and for what cannot be read.
[[nodiscard]] std::optional<std::chrono::sys_time<std::chrono::milliseconds>>
LastWritten(const std::string& path);

/// True when both standard input and standard error are terminals.
[[nodiscard]] bool IsInteractive();

/// Reads keys from standard input one at a time. From a terminal they come at once and without echo; from
/// anything else, exactly the bytes asked for are read. Keys typed ahead are dropped. The terminal's settings
/// are restored at the end, and by every signal that ends, stops or interrupts the process, before that
/// signal takes effect. Only one reader may exist in a process.
class KeyReader {
public:
    KeyReader();
    ~KeyReader();
    KeyReader(const KeyReader&) = delete;
    KeyReader& operator=(const KeyReader&) = delete;

    /// The next key. Empty at the end of input, for the terminal's end-of-file key, and after an interrupting
    /// signal that the process survived. Arrow and function keys are skipped.
    std::optional<char> Next();

private:
    bool terminal = false;
};

} // namespace KOVA::Tessara::Fundament::Platform
