#pragma once

#include <cstdint>

/// Ids of the items that the host's rasters, chains, workspace and loader record.
namespace hostkit::HostKitStatus {

inline constexpr std::uint32_t WindowInvalid = 0xB001;
inline constexpr std::uint32_t RowOutsideWindow = 0xB002;
inline constexpr std::uint32_t RequestInvalid = 0xB003;
inline constexpr std::uint32_t SourceNotCovered = 0xB004;
inline constexpr std::uint32_t DepthNotSupported = 0xB005;
inline constexpr std::uint32_t NotInitialized = 0xB006;
inline constexpr std::uint32_t NoSuchImage = 0xB007;
inline constexpr std::uint32_t PluginNotFound = 0xB010;
inline constexpr std::uint32_t PluginNotLoaded = 0xB011;
inline constexpr std::uint32_t PluginLacksEntry = 0xB012;
inline constexpr std::uint32_t PluginOfAnotherContract = 0xB013;
inline constexpr std::uint32_t ProcessNotCreated = 0xB014;
inline constexpr std::uint32_t NoSuchMethod = 0xB020;
inline constexpr std::uint32_t WeightsInvalid = 0xB021;

} // namespace hostkit::HostKitStatus
