#pragma once

#include "cli/CommandLine.h"
#include "host/Describe.h"
#include "rasterhost/assessing/Compare.h"
#include "rasterhost/assessing/Preview.h"
#include "rasterhost/fusing/Sharpen.h"

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// What "pansharp sharpen" was asked, the method still as typed. Throws UsageError.
[[nodiscard]] rasterhost::SharpenRequest MakeSharpenRequest(const CommandLine& line);

/// The picture that "pansharp sharpen" was asked for, noted among the other files of the request; none
/// without
/// "--preview". Throws UsageError.
[[nodiscard]] std::optional<rasterhost::PreviewRequest>
MakePreviewRequest(const CommandLine& line, rasterhost::SharpenRequest& request);

/// What "pansharp info" was asked: what it has in common with "sharpen", no output. Throws UsageError.
[[nodiscard]] rasterhost::SharpenRequest MakeInfoRequest(const CommandLine& line);

/// Of what "pansharp compare" was asked what it has in common with "sharpen". Throws UsageError.
[[nodiscard]] rasterhost::CompareRequest MakePairRequest(const CommandLine& line);

/// Checks what depends on the plug-in: puts the keyword as the plug-in writes it in the place of the method,
/// refuses weights for a method without any, and returns a warning for weights of another method's run and
/// for each property that the plug-in does not know. Throws UsageError.
std::vector<std::string> FitToPlugin(const CommandLine& line, const PansharpDescription& plugin,
                                     rasterhost::SharpenRequest& request);

} // namespace cli
