#pragma once

#include <filesystem>
#include <string>

/// What a platform does for loading libraries. One file per platform.
namespace hostkit::LibraryFile {

/// A handle, or null with the platform's reason. The library's names stay its own.
[[nodiscard]] void* Open(const std::filesystem::path& path, std::string& reason);
/// The address of an exported name, or null.
[[nodiscard]] void* Find(void* handle, const char* name);
/// Gives a handle back, which is not null.
void Close(void* handle);

/// The folder of the running program; empty when the platform does not say.
[[nodiscard]] std::filesystem::path ProgramFolder();
/// The folder of the library that this code is a part of; empty when it is part of the program itself or the
/// platform does not say.
[[nodiscard]] std::filesystem::path LibraryFolder();

} // namespace hostkit::LibraryFile
