#pragma once

#include "capi/InputImage.h"
#include "capi/pansharp.h"
#include "fitting/DetailFit.h"
#include "fundament/Status.h"
#include "host/Describe.h"
#include "host/NameValueMap.h"
#include "hostkit/EffectiveWeights.h"
#include "hostkit/PanLowPass.h"
#include "hostkit/RowSampler.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace capi {

/// Source and ids of the items recorded here.
namespace CStatus {
inline constexpr const char* Source = "Pansharp.C";
inline constexpr std::uint32_t BadArgument = 0xC001;
inline constexpr std::uint32_t NoThread = 0xC002;
inline constexpr std::uint32_t Cancelled = 0xC004;
} // namespace CStatus

/// A job of the C interface, checked and complete: what is left out there has its default here.
struct FuseJob {
    InputImage pan;
    InputImage multispectral;
    std::optional<InputImage> infrared;
    unsigned char* output = nullptr;
    Layout outputLayout;
    std::vector<std::uint32_t> outputBands; ///< counted from 0
    std::uint32_t processBands = 0;         ///< the process delivers this many bands, the first ones
    const PansharpMethod* method = nullptr; ///< of the plug-in; null where nothing is fused
    KOVA::Tessara::Global::NameValueMap properties;
    hostkit::EffectiveWeights weights;    ///< of a method that weighs bands, given or equal
    std::optional<double> infraredWeight; ///< that was given
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    /// For a method that compares pan with its low-pass; the rest is fitted to the images.
    fitting::KnownDetail known;
    std::optional<double> lowPassMean;
    fitting::DetailFit detail;                          ///< what was found
    std::shared_ptr<const hostkit::PanLowPass> lowPass; ///< null until SettleDetail, and for other methods
    bool isUpsampled = false;                           ///< only; pan is not read
    std::uint32_t largest = 0;                          ///< a sample may have; in an input it is saturated
    std::optional<std::uint32_t> noData;                ///< of pixels of the output without data; else 0
    unsigned char* outputValid = nullptr;               ///< a byte per pixel of the output; null for nobody
    Layout validLayout;                                 ///< of them
    std::atomic<std::uint64_t> gapPixels = 0;           ///< of the output
    pansharp_used used{};                               ///< what is told of the job
    pansharp_used* usedGoes = nullptr;                  ///< to the caller, of his size; null for nobody
    std::uint32_t threads = 0;                          ///< 0: one per processor
    pansharp_progress progress = nullptr;
    void* progressData = nullptr;

    [[nodiscard]] bool MayLackData() const {
        return pan.gaps.MayLackData() || multispectral.gaps.MayLackData() ||
               (infrared && infrared->gaps.MayLackData());
    }
};

/// What a job is read for. To fit alone needs no output, and to fit weights ignores those of the bands; rows
/// come from and go to callbacks, and their images have no samples. To upsample needs neither pan's samples
/// nor a method. Pair: what is asked of the images needs neither a method nor an output; to reduce is the
/// same, and collars are found only if samples are asked for.
enum class JobUse { Fuse, Fit, FitWeights, Rows, Upsample, Pair, Reduce };

/// How a structure is called, its type, the fewest bytes that a caller may say it has, and how to say so
/// where that is not a matter of its `struct_size` alone.
struct StructureName {
    const char* name = nullptr;
    const char* type = nullptr;
    std::size_t least = 0;
    const char* advice = nullptr;
};

/// Copies a structure of another version: what the caller does not know is 0 in `known`, and what is not
/// known here must be 0 in `given`. False with an item that says so, or that it is null or has no size.
[[nodiscard]] bool CopyStructure(const StructureName& of, const void* given, std::size_t givenSize,
                                 void* known, std::size_t knownSize,
                                 KOVA::Tessara::Fundament::Status& status);

template <class Structure>
[[nodiscard]] bool TakeStructure(const StructureName& of, const Structure* given, Structure& known,
                                 KOVA::Tessara::Fundament::Status& status) {
    return CopyStructure(of, given, given ? given->struct_size : 0, &known, sizeof known, status);
}

/// Writes what the caller knows of a structure that was taken.
template <class Structure>
void GiveBack(const Structure& known, Structure& given) {
    std::memcpy(&given, &known, std::min(given.struct_size, sizeof known));
}

/// Reads an image but for its place. False with an item.
[[nodiscard]] bool ReadImage(const char* name, const pansharp_image& given, std::uint32_t bits,
                             InputImage& image, KOVA::Tessara::Fundament::Status& status);

/// An item of id BadArgument; always false.
bool Refuse(KOVA::Tessara::Fundament::Status& status, const std::string& message);

/// False, with an item that names the member of the C structure, when the job cannot be done as it is.
[[nodiscard]] bool ReadJob(const pansharp_job& given, const PansharpDescription& plugin, JobUse use,
                           FuseJob& job, KOVA::Tessara::Fundament::Status& status);

/// Gives the job of a method that compares pan with its low-pass what was found. False with an item.
[[nodiscard]] bool SettleDetail(const fitting::DetailFit& found, FuseJob& job,
                                KOVA::Tessara::Fundament::Status& status);

} // namespace capi
