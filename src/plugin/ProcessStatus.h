#pragma once

#include <cstdint>

/// Ids of the items that the process records.
namespace KOVA::Tessara::Pixmere::ProcessStatus {

inline constexpr const char* source = "PanSharp Process";

inline constexpr std::uint32_t DepthNotSupported = 0xA201;
inline constexpr std::uint32_t NoMultispectralChain = 0xA203;
inline constexpr std::uint32_t NoInfraredChain = 0xA204;
inline constexpr std::uint32_t ChainNotInitialized = 0xA209;
inline constexpr std::uint32_t PanNotInitialized = 0xA20A;
inline constexpr std::uint32_t NoMultispectralImage = 0xA20C; ///< none named, or its raster not created
inline constexpr std::uint32_t NoInfraredRaster = 0xA20D;
inline constexpr std::uint32_t DepthsDiffer = 0xA20F;
inline constexpr std::uint32_t NoMergeOperator = 0xA210;
inline constexpr std::uint32_t MergeOperatorFailed = 0xA211;
inline constexpr std::uint32_t NoMergedImage = 0xA212;
inline constexpr std::uint32_t MergedImageFailed = 0xA213;
inline constexpr std::uint32_t NoPanSharpImage = 0xA214;
inline constexpr std::uint32_t PanSharpImageFailed = 0xA215;
inline constexpr std::uint32_t NoInputRaster = 0xA216;
inline constexpr std::uint32_t WindowInvalid = 0xA220;
inline constexpr std::uint32_t NoRequest = 0xA221;
inline constexpr std::uint32_t NoWorkspace = 0xA222;
inline constexpr std::uint32_t NoDescription = 0xA223;
inline constexpr std::uint32_t DepthChanged = 0xA224;
inline constexpr std::uint32_t RasterTooSmall = 0xA225;
inline constexpr std::uint32_t NoWindow = 0xA226;
inline constexpr std::uint32_t RowOutsideWindow = 0xA227;
inline constexpr std::uint32_t ItemsDropped = 0xA228;
inline constexpr std::uint32_t Exception = 0xA22F;

} // namespace KOVA::Tessara::Pixmere::ProcessStatus
