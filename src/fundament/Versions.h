#pragma once

#include <iosfwd>
#include <string>

namespace KOVA::Tessara::Fundament {

/// The version of a program or library file: major, minor and build numbers joined by points. For a Windows
/// module it comes from the version resource; for a shared library of this system from the file name after
/// links are followed (libx.so.2.1.45 gives 2.1.45, or fewer numbers when the name has fewer). An empty text
/// when the file has no version or is damaged.
[[nodiscard]] std::string GetFileVersion(const std::string& path);

/// "2.1.45" as "2.1 (Build 45)". An empty text for fewer than three parts; further parts are left out.
[[nodiscard]] std::string FormatVersion(const std::string& version);

/// The version in the resources of a Windows module, or an empty text. Reads only a few hundred bytes, even
/// of a damaged module.
[[nodiscard]] std::string ReadVersionResource(std::istream& module);

} // namespace KOVA::Tessara::Fundament
