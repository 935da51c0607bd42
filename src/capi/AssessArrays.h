#pragma once

#include "capi/FuseJob.h"
#include "imagery/PairComparison.h"

namespace capi {

/// Compares an image with a reference and writes the indices that are found. A result other than PANSHARP_OK
/// comes with an item.
[[nodiscard]] pansharp_result AssessArrays(pansharp_assessment& assessment,
                                           KOVA::Tessara::Fundament::Status& status);

/// Compares an image with the pair of a job that was read for JobUse::Pair. May throw.
[[nodiscard]] pansharp_result AssessPairArrays(const FuseJob& job, pansharp_pair_assessment& assessment,
                                               KOVA::Tessara::Fundament::Status& status);

/// Reads the blur of `bands` bands: one transfer per band, one for all, or the default when none is given.
/// False with an item.
[[nodiscard]] bool ReadBlur(const double* transfers, std::uint32_t count, double panTransfer,
                            std::uint32_t bands, imagery::SensorBlur& blur,
                            KOVA::Tessara::Fundament::Status& status);

} // namespace capi
