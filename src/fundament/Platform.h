#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

/// What the standard library cannot do. One file per platform.
namespace KOVA::Tessara::Fundament::Platform {

/// The numbers are the classic access modes.
enum class Access { Exists = 0, Write = 2, Read = 4, ReadWrite = 6 };

/// Whether the process, as the user it now acts for, may do that to an existing path.
[[nodiscard]] bool CanAccess(const std::string& path, Access access);

/// A path from its bytes, and back. On Windows they are UTF-8 or, where they are not, text in the system's
/// code page; elsewhere the bytes are the path.
[[nodiscard]] std::filesystem::path ToPath(const std::string& bytes);
[[nodiscard]] std::string FromPath(const std::filesystem::path& path);

/// The value of an environment variable; the empty text when it is not set.
[[nodiscard]] std::string Environment(const char* name);

/// When a file was last written, rounded up; nothing for a folder and for what cannot be read.
[[nodiscard]] std::optional<std::chrono::sys_time<std::chrono::milliseconds>>
LastWritten(const std::string& path);

/// True when standard input and standard error both are terminals.
[[nodiscard]] bool IsInteractive();

/// Keys from standard input, one at a time: from a terminal at once and without echo, elsewhere the bytes as
/// they come, not one more than asked for. Typing ahead of the reader is dropped. The terminal is put back
/// at the end, and by every signal that ends, stops or interrupts the process, before the signal does its
/// work. One reader at a time in a process.
class KeyReader {
public:
    KeyReader();
    ~KeyReader();
    KeyReader(const KeyReader&) = delete;
    KeyReader& operator=(const KeyReader&) = delete;

    /// The next key. Nothing at the end of input (on a terminal, its end-of-file key too), and when the
    /// process survived an interrupting signal. Arrow and function keys are passed over.
    std::optional<char> Next();

private:
    bool terminal = false;
};

} // namespace KOVA::Tessara::Fundament::Platform
