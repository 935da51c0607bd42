#pragma once

#include "fundament/Status.h"

#include <cstdint>
#include <string>

namespace rasterhost {

using KOVA::Tessara::Fundament::Status;

/// Ids of the items that this host records.
namespace HostStatus {
inline constexpr std::uint32_t RequestInvalid = 0xB101;
inline constexpr std::uint32_t InputNotOpened = 0xB102;
inline constexpr std::uint32_t InputNotSupported = 0xB103;
inline constexpr std::uint32_t InputsDoNotFit = 0xB104;
inline constexpr std::uint32_t InputNotRead = 0xB105;
inline constexpr std::uint32_t OutputRefused = 0xB106;
inline constexpr std::uint32_t OutputNotCreated = 0xB107;
inline constexpr std::uint32_t OutputNotWritten = 0xB108;
inline constexpr std::uint32_t Cancelled = 0xB10A;
inline constexpr std::uint32_t Unexpected = 0xB10B;
} // namespace HostStatus

/// Records an item of the host. Always false.
bool Fail(Status& status, std::uint32_t id, const std::string& message);
/// The same with a printf-formatted message.
bool Fail(Status& status, std::uint32_t id, const char* format, ...) __attribute__((format(printf, 3, 4)));

} // namespace rasterhost
