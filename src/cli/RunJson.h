#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"
#include "cli/JsonParts.h"
#include "fundament/Status.h"
#include "host/Describe.h"
#include "rasterhost/assessing/Preflight.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The JSON objects that "--json" prints: one per run, ending in a line feed. Every object has "command",
/// "ok", "exit_code", "version" and "status", whose items have id, message, source and details. Bytes that
/// are not UTF-8 are replaced.
namespace cli {

/// A run that failed before there was anything to report.
[[nodiscard]] std::string FailureJson(std::string_view command, ExitCode code,
                                      const KOVA::Tessara::Fundament::Status& status);

/// `peakMemory` is in bytes.
[[nodiscard]] Json SharpenObject(const Arguments& request, const rasterhost::SharpenReport& report,
                                 ExitCode code, const KOVA::Tessara::Fundament::Status& status,
                                 std::uint64_t peakMemory);
[[nodiscard]] std::string SharpenJson(const Arguments& request, const rasterhost::SharpenReport& report,
                                      ExitCode code, const KOVA::Tessara::Fundament::Status& status,
                                      std::uint64_t peakMemory);

/// What was found, also before a failure.
[[nodiscard]] std::string InfoJson(const Arguments& request, const rasterhost::PreflightReport& report,
                                   ExitCode code, const KOVA::Tessara::Fundament::Status& status);

/// `plugin` is null for a plug-in that does not work; `status` has the reason.
[[nodiscard]] std::string VersionJson(const PansharpDescription* plugin, const std::string& file,
                                      ExitCode code, const KOVA::Tessara::Fundament::Status& status);

[[nodiscard]] std::string MethodsJson(const PansharpDescription& plugin, const std::string& file);

} // namespace cli
