#pragma once

#include <filesystem>
#include <string>

/// Loading of libraries, with one implementation file per platform.
namespace hostkit::LibraryFile {

/// Loads a library and returns a handle, or null with the platform's reason. Its names are not visible to
/// other libraries.
[[nodiscard]] void* Open(const std::filesystem::path& path, std::string& reason);
/// The address of an exported name, or null.
[[nodiscard]] void* Find(void* handle, const char* name);
/// Closes a handle, which must not be null.
void Close(void* handle);

/// The folder of the running program; empty when the platform does not say.
[[nodiscard]] std::filesystem::path ProgramFolder();
/// The folder of the library that contains this code. Empty when the code is part of the program itself, or
/// when the platform does not say.
[[nodiscard]] std::filesystem::path LibraryFolder();

} // namespace hostkit::LibraryFile
