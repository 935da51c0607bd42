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

/// A job of the C interface, checked and complete: defaults replace what the caller left out.
struct FuseJob {
    InputImage pan;
    InputImage multispectral;
    std::optional<InputImage> infrared;
    unsigned char* output = nullptr;
    Layout outputLayout;
    std::vector<std::uint32_t> outputBands; ///< as the process counts them, from 0
    std::uint32_t processBands = 0;         ///< bands that the process delivers: the first ones
    const PansharpMethod* method = nullptr; ///< of the plug-in; null when nothing is fused
    KOVA::Tessara::Global::NameValueMap properties;
    hostkit::EffectiveWeights weights;    ///< of a method that weighs bands, given or equal
    std::optional<double> infraredWeight; ///< as given by the caller
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    /// For a method that compares pan with its low-pass: what the caller gave. The rest is fitted to the
    /// images.
    fitting::KnownDetail known;
    std::optional<double> lowPassMean;
    fitting::DetailFit detail;                          ///< as fitted
    std::shared_ptr<const hostkit::PanLowPass> lowPass; ///< null until SettleDetail, and for other methods
    bool isUpsampled = false;                           ///< only upsample; pan is not read
    std::uint32_t largest = 0;                          ///< largest sample value; an input sample at it is
                                                        ///< saturated
    std::optional<std::uint32_t> noData;                ///< value of output pixels without data; if absent 0
    unsigned char* outputValid = nullptr;               ///< mask of the output, a byte per pixel; null when
                                                        ///< not wanted
    Layout validLayout;                                 ///< of the mask
    std::atomic<std::uint64_t> gapPixels = 0;           ///< of the output
    pansharp_used used{};                               ///< the record of how the job was done
    pansharp_used* usedGoes = nullptr; ///< the caller's record, of its size; null when not wanted
    std::uint32_t threads = 0;         ///< 0: one per processor
    pansharp_progress progress = nullptr;
    void* progressData = nullptr;

    [[nodiscard]] bool MayLackData() const {
        return pan.gaps.MayLackData() || multispectral.gaps.MayLackData() ||
               (infrared && infrared->gaps.MayLackData());
    }
};

/// What a job is read for, which decides what it must have.
/// - Fit needs no output; FitWeights also ignores the given weights of the bands.
/// - Rows: rows come from and go to callbacks, so the images have no samples.
/// - Upsample needs neither pan's samples nor a method.
/// - Pair needs neither a method nor an output. Reduce is the same, but finds collars only if samples are
///   wanted.
enum class JobUse { Fuse, Fit, FitWeights, Rows, Upsample, Pair, Reduce };

/// A structure of the interface: its name, its type, the fewest bytes that a caller may pass, and what to
/// advise when setting `struct_size` is not the remedy.
struct StructureName {
    const char* name = nullptr;
    const char* type = nullptr;
    std::size_t least = 0;
    const char* advice = nullptr;
};

/// Copies a structure of another version of this header. Members that the caller does not know become 0 in
/// `known`; members that are not known here must be 0 in `given`. False with an item when they are not, or
/// when `given` is null or has no size.
[[nodiscard]] bool CopyStructure(const StructureName& of, const void* given, std::size_t givenSize,
                                 void* known, std::size_t knownSize,
                                 KOVA::Tessara::Fundament::Status& status);

template <class Structure>
[[nodiscard]] bool TakeStructure(const StructureName& of, const Structure* given, Structure& known,
                                 KOVA::Tessara::Fundament::Status& status) {
    return CopyStructure(of, given, given ? given->struct_size : 0, &known, sizeof known, status);
}

/// Writes back the part of a structure that the caller's version has.
template <class Structure>
void GiveBack(const Structure& known, Structure& given) {
    std::memcpy(&given, &known, std::min(given.struct_size, sizeof known));
}

/// Reads an image without its place under pan. False with an item.
[[nodiscard]] bool ReadImage(const char* name, const pansharp_image& given, std::uint32_t bits,
                             InputImage& image, KOVA::Tessara::Fundament::Status& status);

/// Records an item with id BadArgument. Always false.
bool Refuse(KOVA::Tessara::Fundament::Status& status, const std::string& message);

/// Reads and checks a job. False, with an item that names the member of the C structure, when it cannot be
/// done.
[[nodiscard]] bool ReadJob(const pansharp_job& given, const PansharpDescription& plugin, JobUse use,
                           FuseJob& job, KOVA::Tessara::Fundament::Status& status);

/// Stores what was fitted in the job of a method that compares pan with its low-pass. False with an item.
[[nodiscard]] bool SettleDetail(const fitting::DetailFit& found, FuseJob& job,
                                KOVA::Tessara::Fundament::Status& status);

} // namespace capi
