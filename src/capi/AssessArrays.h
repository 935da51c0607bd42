#pragma once

#include "capi/FuseJob.h"
#include "imagery/PairComparison.h"

namespace capi {

/// Fills in what is found. A result other than PANSHARP_OK comes with an item.
[[nodiscard]] pansharp_result AssessArrays(pansharp_assessment& assessment,
                                           KOVA::Tessara::Fundament::Status& status);

/// The same of an image by the pair of a job that was read as one. May throw.
[[nodiscard]] pansharp_result AssessPairArrays(const FuseJob& job, pansharp_pair_assessment& assessment,
                                               KOVA::Tessara::Fundament::Status& status);

/// The blur that is given for this many bands, with the usual where it is not. False with an item.
[[nodiscard]] bool ReadBlur(const double* transfers, std::uint32_t count, double panTransfer,
                            std::uint32_t bands, imagery::SensorBlur& blur,
                            KOVA::Tessara::Fundament::Status& status);

} // namespace capi
