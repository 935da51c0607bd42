// The functions of the C interface. No exception leaves them.

#include "capi/pansharp.h"

#include "capi/AssessArrays.h"
#include "capi/FitArrays.h"
#include "capi/FuseArrays.h"
#include "capi/FuseJob.h"
#include "capi/FuseRows.h"
#include "capi/JobGaps.h"
#include "capi/ReduceArrays.h"
#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>

using KOVA::Tessara::Fundament::Status;

struct pansharp {
    std::unique_ptr<hostkit::PluginLibrary> plugin;
};

namespace {

/// A caller's buffer for the reason of a failure.
class ErrorText {
public:
    ErrorText(char* text, std::size_t bytes) : buffer(text), size(text ? bytes : 0) { Set("", 0); }

    void Set(const char* text) { Set(text, std::strlen(text)); }
    void Set(const Status& status) {
        std::string lines;
        for (std::uint32_t i = 0; i < status.GetCount(); ++i) {
            const std::string& message = status.GetItem(i).message;
            if (!message.empty()) lines += (lines.empty() ? "" : "\n") + message;
        }
        // A thread that has run out of memory cannot record it.
        if (lines.empty()) lines = outOfMemory;
        Set(lines.data(), lines.size());
    }

    static constexpr const char* outOfMemory = "there is not enough memory";

private:
    void Set(const char* text, std::size_t length) {
        if (size == 0) return;
        length = std::min(length, size - 1);
        std::memcpy(buffer, text, length);
        // Does not end with a part of a UTF-8 character.
        if (text[length] != 0)
            while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0u) == 0x80u)
                --length;
        buffer[length] = 0;
    }

    char* buffer;
    std::size_t size;
};

/// The result of `call`; if it throws, `whenThrown`, with the reason recorded.
template <class Result, class Call>
Result Guarded(ErrorText& error, Result whenThrown, const Call& call) noexcept {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        error.Set(ErrorText::outOfMemory);
    } catch (const std::exception& exception) {
        error.Set(exception.what());
    } catch (...) {
        error.Set("an exception of unknown kind was thrown, perhaps by a callback");
    }
    return whenThrown;
}

pansharp_detail Describe(const fitting::DetailFit& fit) {
    if (fit.gains.empty()) return {}; // the method does not compare pan with its low-pass
    return {fit.transfer,
            fit.lowPassMean > 0.0 ? fit.lowPassMean : PANSHARP_NO_MEAN,
            fit.blur ? fit.blur->rSquared : 0.0,
            fit.samples,
            fit.error.value_or(0.0),
            fit.plainError.value_or(0.0)};
}

/// Writes what is known of the job so far, if the caller asks for it.
void TellUse(capi::FuseJob& job) {
    if (!job.usedGoes) return;
    pansharp_used& used = job.used;
    used.method = job.method ? job.method->keyword : nullptr;
    used.resampling = job.resampling == hostkit::Resampling::Cubic ? PANSHARP_CUBIC : PANSHARP_BILINEAR;
    const auto& weights = job.weights.bands;
    const bool weighs = job.method && hostkit::WeighsBands(*job.method);
    used.weight_count = weighs ? static_cast<std::uint32_t>(weights.size()) : 0;
    if (used.weights) std::copy_n(weights.begin(), used.weight_count, used.weights);
    used.infrared_weight = weighs ? job.weights.infrared.value_or(0.0) : 0.0;
    for (std::size_t band = 0; used.gains && band < job.detail.gains.size(); ++band)
        used.gains[band] = {job.detail.gains[band].gain, job.detail.gains[band].ratioGain};
    used.detail = Describe(job.detail);
    used.gaps = job.gapPixels;
    capi::GiveBack(used, *job.usedGoes);
}

/// The result of `work` on a job that is read and checked.
template <class Work>
pansharp_result RunJob(const pansharp* library, const pansharp_job* job, ErrorText& text, capi::JobUse use,
                       const Work& work) noexcept {
    if (!library || !job) {
        text.Set(library ? "job is null; give the address of a pansharp_job"
                         : "library is null; give what pansharp_open returned");
        return PANSHARP_BAD_ARGUMENT;
    }
    return Guarded(text, PANSHARP_FAILED, [&] {
        Status status;
        capi::FuseJob checked;
        pansharp_result result = PANSHARP_BAD_ARGUMENT;
        if (capi::ReadJob(*job, library->plugin->GetDescription(), use, checked, status) &&
            (use == capi::JobUse::Reduce || capi::FindCollars(checked, status)))
            result = work(checked, status);
        TellUse(checked);
        if (result != PANSHARP_OK) text.Set(status);
        return result;
    });
}

} // namespace

pansharp* pansharp_open(const char* plugin_path, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return Guarded<pansharp*>(text, nullptr, [&]() -> pansharp* {
        Status status;
        const std::string path = hostkit::FindPlugin(plugin_path ? plugin_path : "", status);
        auto library = std::make_unique<pansharp>();
        if (!path.empty()) library->plugin = hostkit::PluginLibrary::Load(path, status);
        if (library->plugin) return library.release();
        text.Set(status);
        return nullptr;
    });
}

void pansharp_close(pansharp* library) { delete library; }

const char* pansharp_version(void) { return PANSHARP_VERSION; }

const char* pansharp_plugin_version(const pansharp* library) {
    return library ? library->plugin->GetDescription().version : "";
}

const char* pansharp_plugin_path(const pansharp* library) {
    return library ? library->plugin->GetPath().c_str() : "";
}

const char* pansharp_method(const pansharp* library, uint32_t position) {
    if (!library) return nullptr;
    const PansharpDescription& plugin = library->plugin->GetDescription();
    return position < plugin.methodCount ? plugin.methods[position].keyword : nullptr;
}

int pansharp_describe_method(const pansharp* library, uint32_t position, pansharp_method_info* info,
                             size_t size) {
    if (!library || !info || position >= library->plugin->GetDescription().methodCount) return 0;
    const PansharpDescription& plugin = library->plugin->GetDescription();
    const PansharpMethod& method = plugin.methods[position];
    const auto number = [](bool is) { return is ? 1u : 0u; };
    const pansharp_method_info known = {method.keyword,
                                        method.summary,
                                        method.formula,
                                        method.advice,
                                        method.minimumBands,
                                        method.fusedBands,
                                        number(hostkit::WeighsBands(method)),
                                        number(hostkit::UsesLowPass(method)),
                                        number(&method == hostkit::FindRecommended(plugin))};
    std::memset(static_cast<void*>(info), 0, size);
    std::memcpy(static_cast<void*>(info), &known, std::min(size, sizeof known));
    return 1;
}

void pansharp_job_init(pansharp_job* job, size_t size) {
    if (!job || size < sizeof job->struct_size) return;
    std::memset(static_cast<void*>(job), 0, size);
    job->struct_size = size;
}

pansharp_result pansharp_fit(const pansharp* library, const pansharp_job* job, pansharp_gains* gains,
                             pansharp_detail* detail, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::Fit, [&](capi::FuseJob& checked, Status& status) {
        if (!hostkit::UsesLowPass(*checked.method)) {
            capi::Refuse(status, std::string("the method ") + checked.method->keyword +
                                     " does not compare pan with its low-pass: there is nothing to fit");
            return PANSHARP_BAD_ARGUMENT;
        }
        fitting::DetailFit& fit = checked.detail;
        if (!capi::FitArrays(checked, fit, status)) return PANSHARP_FAILED;
        for (std::size_t band = 0; gains && band < fit.gains.size(); ++band)
            gains[band] = {fit.gains[band].gain, fit.gains[band].ratioGain};
        if (detail) *detail = Describe(fit);
        return PANSHARP_OK;
    });
}

pansharp_result pansharp_fit_weights(const pansharp* library, const pansharp_job* job, double* weights,
                                     pansharp_weight_fit* fit, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::FitWeights, [&](capi::FuseJob& checked, Status& status) {
        pansharp_weight_fit told;
        if (fit &&
            !capi::TakeStructure({"fit", "pansharp_weight_fit", offsetof(pansharp_weight_fit, obstacle)}, fit,
                                 told, status))
            return PANSHARP_BAD_ARGUMENT;
        if (!hostkit::WeighsBands(*checked.method)) {
            capi::Refuse(status, std::string("the method ") + checked.method->keyword +
                                     " weighs no bands: there are no weights to fit");
            return PANSHARP_BAD_ARGUMENT;
        }
        fitting::ShareFit found = capi::FitWeights(checked);
        hostkit::EffectiveWeights& shares = checked.weights;
        const std::size_t bands = shares.bands.size();
        if (found.obstacle.empty()) {
            shares.bands.assign(found.weights.begin(),
                                found.weights.begin() + static_cast<std::ptrdiff_t>(bands));
            if (checked.infrared) shares.infrared = found.weights.back();
        }
        if (weights) std::copy(shares.bands.begin(), shares.bands.end(), weights);
        if (fit) {
            told = {fit->struct_size, shares.infrared.value_or(0.0), found.rSquared, found.samples, {}};
            ErrorText(told.obstacle, sizeof told.obstacle).Set(found.obstacle.c_str());
            capi::GiveBack(told, *fit);
        }
        return PANSHARP_OK;
    });
}

pansharp_result pansharp_measure_shift(const pansharp* library, const pansharp_job* job,
                                       pansharp_shift* shift, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::Pair, [&](capi::FuseJob& checked, Status& status) {
        pansharp_shift told;
        if (!capi::TakeStructure({"shift", "pansharp_shift", offsetof(pansharp_shift, is_agreed)}, shift,
                                 told, status))
            return PANSHARP_BAD_ARGUMENT;
        std::optional<fitting::Shift> found;
        if (!capi::FitShift(checked, found, status)) return PANSHARP_FAILED;
        told = {shift->struct_size, 0.0, 0.0, 0.0, 0.0, 0, 0, 0};
        if (found)
            told = {shift->struct_size,
                    found->displacement.x,
                    found->displacement.y,
                    found->rSquared,
                    found->spread,
                    found->windows,
                    1,
                    found->IsAgreed() ? 1u : 0u};
        capi::GiveBack(told, *shift);
        return PANSHARP_OK;
    });
}

pansharp_result pansharp_fuse(const pansharp* library, const pansharp_job* job, char* error,
                              size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::Fuse, [&](capi::FuseJob& checked, Status& status) {
        if (hostkit::UsesLowPass(*checked.method) && !(capi::FitArrays(checked, checked.detail, status) &&
                                                       capi::SettleDetail(checked.detail, checked, status)))
            return PANSHARP_FAILED;
        return capi::FuseArrays(*library->plugin, checked, status);
    });
}

pansharp_result pansharp_upsample(const pansharp* library, const pansharp_job* job, char* error,
                                  size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::Upsample, [&](capi::FuseJob& checked, Status& status) {
        return capi::FuseArrays(*library->plugin, checked, status);
    });
}

pansharp_result pansharp_assess(pansharp_assessment* assessment, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return Guarded(text, PANSHARP_FAILED, [&] {
        Status status;
        pansharp_assessment known;
        pansharp_result result = PANSHARP_BAD_ARGUMENT;
        if (capi::TakeStructure({"assessment", "pansharp_assessment", offsetof(pansharp_assessment, pixels)},
                                assessment, known, status)) {
            result = capi::AssessArrays(known, status);
            capi::GiveBack(known, *assessment);
        }
        if (result != PANSHARP_OK) text.Set(status);
        return result;
    });
}

pansharp_result pansharp_assess_pair(const pansharp* library, const pansharp_job* job,
                                     pansharp_pair_assessment* assessment, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::Pair, [&](capi::FuseJob& checked, Status& status) {
        pansharp_pair_assessment known;
        if (!capi::TakeStructure(
                {"assessment", "pansharp_pair_assessment", offsetof(pansharp_pair_assessment, fused)},
                assessment, known, status))
            return PANSHARP_BAD_ARGUMENT;
        const pansharp_result result = capi::AssessPairArrays(checked, known, status);
        capi::GiveBack(known, *assessment);
        return result;
    });
}

pansharp_result pansharp_reduce(const pansharp* library, const pansharp_job* job,
                                pansharp_reduction* reduction, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::Reduce, [&](capi::FuseJob& checked, Status& status) {
        pansharp_reduction known;
        if (!capi::TakeStructure({"reduction", "pansharp_reduction", offsetof(pansharp_reduction, ratio_x)},
                                 reduction, known, status))
            return PANSHARP_BAD_ARGUMENT;
        const pansharp_result result = capi::ReduceArrays(checked, known, status);
        capi::GiveBack(known, *reduction);
        return result;
    });
}

pansharp_result pansharp_fuse_rows(const pansharp* library, const pansharp_job* job,
                                   const pansharp_rows* rows, char* error, size_t error_size) {
    ErrorText text(error, error_size);
    return RunJob(library, job, text, capi::JobUse::Rows, [&](capi::FuseJob& checked, Status& status) {
        return capi::FuseRows(*library->plugin, checked, rows, status);
    });
}
