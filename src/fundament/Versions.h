#pragma once

#include <iosfwd>
#include <string>

namespace KOVA::Tessara::Fundament {

/// The version of a program or library file: major, minor and build numbers joined by points. A Windows
/// module tells it in its version resource; a shared library of this system in its file name after links are
/// followed (libx.so.2.1.45 gives 2.1.45, and fewer numbers when the name has fewer). The empty text when the
/// file has none or is damaged.
[[nodiscard]] std::string GetFileVersion(const std::string& path);

/// "2.1.45" as "2.1 (Build 45)"; the empty text for fewer than three parts. Further parts are left out.
[[nodiscard]] std::string FormatVersion(const std::string& version);

/// The version in the resources of a Windows module, or the empty text. Reads a few hundred bytes, wherever
/// they stand; a damaged module costs no more.
[[nodiscard]] std::string ReadVersionResource(std::istream& module);

} // namespace KOVA::Tessara::Fundament
