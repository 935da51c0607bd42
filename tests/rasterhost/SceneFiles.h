#pragma once

#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/fusing/Sharpen.h"
#include "support/RasterFiles.h"

#include <gtest/gtest.h>

namespace testfiles {

/// A run with the built plug-in and its results.
struct Outcome {
    bool isDone = false;
    rasterhost::SharpenReport report;
    KOVA::Tessara::Fundament::Status status;
    rasterhost::PreparedPair pair; ///< that was fused
};

/// The methods of the built plug-in.
inline std::span<const PansharpMethod> Methods() {
    static KOVA::Tessara::Fundament::Status status;
    static const auto plugin = hostkit::PluginLibrary::Load(PANSHARP_PLUGIN_FILE, status);
    return hostkit::MethodsOf(plugin->GetDescription());
}

/// A request whose pixels can be computed by hand: it weighs bands and interpolates bilinearly.
inline rasterhost::SharpenRequest MakeRequest() {
    rasterhost::SharpenRequest request;
    request.method = "kova";
    request.resampling = hostkit::Resampling::Bilinear;
    return request;
}

inline Outcome RunSharpen(rasterhost::SharpenRequest request) {
    if (request.plugin.empty()) request.plugin = PANSHARP_PLUGIN_FILE;
    Outcome outcome;
    outcome.isDone = rasterhost::Sharpen(request, outcome.report, outcome.status, &outcome.pair);
    return outcome;
}

/// Runs a request that must succeed: an exception fails the test.
inline Outcome RunWell(const rasterhost::SharpenRequest& request) {
    Outcome outcome = RunSharpen(request);
    if (!outcome.isDone) throw std::runtime_error(outcome.status.ToText());
    return outcome;
}

/// The pixels that such a run writes.
inline std::vector<unsigned> Fused(const rasterhost::SharpenRequest& request) {
    RunWell(request);
    return ReadAll(request.output);
}

} // namespace testfiles
