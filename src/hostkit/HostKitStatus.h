#pragma once

#include <cstdint>

/// Ids of the items that the host's rasters, chains, workspace and loader record.
namespace hostkit::HostKitStatus {

inline constexpr std::uint32_t WindowInvalid = 0xB001;    ///< empty, or not within the pixels at hand
inline constexpr std::uint32_t RowOutsideWindow = 0xB002; ///< a row outside the window
inline constexpr std::uint32_t RequestInvalid = 0xB003;   ///< a record that describes no window of the grid
/// the samples at hand do not cover what the window needs
inline constexpr std::uint32_t SourceNotCovered = 0xB004;
inline constexpr std::uint32_t DepthNotSupported = 0xB005; ///< neither 8 nor 16 bits
inline constexpr std::uint32_t NotInitialized = 0xB006;    ///< a chain that is used before Initialize
inline constexpr std::uint32_t NoSuchImage = 0xB007;       ///< no image of that ID in the workspace
inline constexpr std::uint32_t PluginNotFound = 0xB010;    ///< no plug-in file in the places searched
inline constexpr std::uint32_t PluginNotLoaded = 0xB011;   ///< a file that is not a library for this machine
inline constexpr std::uint32_t PluginLacksEntry = 0xB012;  ///< a library that lacks an entry point
inline constexpr std::uint32_t PluginOfAnotherContract = 0xB013; ///< a plug-in built against another contract
inline constexpr std::uint32_t ProcessNotCreated = 0xB014;       ///< the plug-in made no object
inline constexpr std::uint32_t ProcessFailed = 0xB015;           ///< a call of the process failed
inline constexpr std::uint32_t NoSuchMethod = 0xB020;            ///< no method of that keyword
/// too many, too few, not finite, or not used by the method
inline constexpr std::uint32_t WeightsInvalid = 0xB021;
inline constexpr std::uint32_t ValueOutOfRange = 0xB022; ///< beyond the range of the method's parameter

} // namespace hostkit::HostKitStatus
