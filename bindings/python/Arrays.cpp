// The module pansharp._arrays: numpy arrays as jobs of the C interface. The package checks arguments before
// it calls this module.

#include "Calls.h"

#include <pansharp.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

namespace py = pybind11;

/// Width and height of a pixel in pan pixels, then column and row of the image at pan's corner.
using Placement = std::array<double, 4>;
using Gains = std::pair<double, double>;

/// A mask, 0 without data, with the axes row and column; the other rules for no data; and the value for no
/// data.
using Gaps = std::tuple<std::optional<py::array>, std::uint32_t, std::uint32_t>;

using python::Calls;
using python::Raise;

void Check(pansharp_result result, const char* error) {
    if (result == PANSHARP_OK) return;
    std::string text = error;
    if (result != PANSHARP_BAD_ARGUMENT) Raise(python::ErrorClass().ptr(), text);
    // Members of the C structures are arguments here.
    constexpr std::pair<const char*, const char*> names[] = {
        {"multispectral.offset_x or multispectral.pixel_width", "offset or pixel_size"},
        {"multispectral.offset_y or multispectral.pixel_height", "offset or pixel_size"},
        {"infrared.offset_x or infrared.pixel_width", "infrared_offset or infrared_pixel_size"},
        {"infrared.offset_y or infrared.pixel_height", "infrared_offset or infrared_pixel_size"},
        {"(pixel_width:", "(its pixel_size:"},
        {"(pixel_height:", "(its pixel_size:"},
        {" of multispectral", " of ms"},
        {"output lies", "out lies"},
        {"output: with", "out: with"},
        {"multispectral_gaps.", "the gaps of ms: "},
        {"Leave PANSHARP_COLLAR out", "Give nodata=False"},
        {"job.bits_used", "bits"},
        {"job.", ""}};
    for (const auto& [member, argument] : names)
        for (std::size_t at = 0; (at = text.find(member, at)) != std::string::npos;)
            text.replace(at, std::strlen(member), argument);
    Raise(PyExc_ValueError, text);
}

/// Calls the library without the interpreter's lock, with a buffer for the reasons and its size. Raises the
/// reasons.
template <class Call>
void Ask(const Call& call) {
    char error[2048];
    pansharp_result result = PANSHARP_FAILED;
    {
        const Calls::Running running;
        const py::gil_scoped_release released;
        result = call(error, sizeof error);
    }
    Check(result, error);
}

/// The plug-in, loaded at the first call and never unloaded: arrays may be fused until the process ends.
const pansharp* Library() {
    static const pansharp* library = nullptr; // guarded by the interpreter's lock
    char error[2048];
    if (!library && !(library = pansharp_open(nullptr, error, sizeof error)))
        Raise(python::ErrorClass().ptr(), error);
    return library;
}

std::uint32_t Count(py::ssize_t pixels) {
    if (pixels < 0 || pixels > std::numeric_limits<std::uint32_t>::max())
        throw py::value_error("an array may have 4294967295 samples along an axis at most");
    return static_cast<std::uint32_t>(pixels);
}

void CheckAxes(const py::array& samples) {
    if (samples.ndim() != 3) throw py::value_error("the arrays must have a band, a row and a column axis");
}

/// The stride of a single band is never used, but packed samples are recognised by it.
py::ssize_t BandStride(const py::array& samples) {
    return samples.shape(0) == 1 ? samples.itemsize() : samples.strides(0);
}

/// An image from an array with the axes band, row, column.
pansharp_image MakeImage(const py::array& samples, const Placement& placement) {
    CheckAxes(samples);
    return {samples.data(),
            Count(samples.shape(2)),
            Count(samples.shape(1)),
            Count(samples.shape(0)),
            samples.strides(1),
            samples.strides(2),
            BandStride(samples),
            placement[0],
            placement[1],
            placement[2],
            placement[3]};
}

/// Rules for no data from a mask with the size of the image.
pansharp_gaps MakeGaps(const Gaps& given, const pansharp_image& image) {
    const auto& [mask, rules, value] = given;
    pansharp_gaps gaps{nullptr, 0, 0, rules, value};
    if (!mask) return gaps;
    if (mask->ndim() != 2 || mask->itemsize() != 1 || mask->shape(0) != image.rows ||
        mask->shape(1) != image.columns)
        throw py::value_error("a mask must have the rows and columns of its image");
    gaps.valid = static_cast<const std::uint8_t*>(mask->data());
    gaps.row_stride = mask->strides(0);
    gaps.pixel_stride = mask->strides(1);
    return gaps;
}

/// Called while the interpreter's lock is free: takes the lock, and keeps an exception for the caller.
struct Watch {
    const py::object& progress; ///< None without one
    std::exception_ptr thrown;

    static int Tell(std::uint32_t done, std::uint32_t rows, void* data) {
        auto& watch = *static_cast<Watch*>(data);
        if (Calls::IsEnding()) return 1;
        const py::gil_scoped_acquire lock;
        try {
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
            if (!watch.progress.is_none()) watch.progress(done, rows);
            return 0;
        } catch (...) {
            watch.thrown = std::current_exception();
            return 1;
        }
    }
};

/// Per band: bias, RMSE, PSNR, Q and spatial correlation.
py::tuple Tell(const std::vector<pansharp_band_quality>& bands) {
    py::list found;
    for (const pansharp_band_quality& band : bands)
        found.append(py::make_tuple(band.bias, band.rmse, band.psnr, band.q, band.spatial_correlation));
    return py::tuple(found);
}

/// The consistency in the form of Assess, then pixels, D_lambda, D_S, QNR, D_lambda K and HQNR.
py::tuple Tell(const pansharp_pair_quality& of, const std::vector<pansharp_band_quality>& bands) {
    return py::make_tuple(py::make_tuple(of.coarse_pixels, of.q, of.sam, of.ergas, Tell(bands)), of.pixels,
                          of.d_lambda, of.d_s, of.qnr, of.d_lambda_k, of.hqnr);
}

/// A job of the C interface with everything that it points to. It keeps the arrays alive.
class Job {
public:
    Job(py::array panImage, py::array msImage, const Placement& msPlacement,
        std::optional<py::array> infraredImage, const Placement& infraredPlacement,
        std::optional<std::string> methodName, std::vector<double> bandWeights,
        std::optional<double> infraredShare, const std::vector<Gains>& bandGains, double transfer,
        std::optional<double> lowPassMean, std::uint32_t resampling, std::vector<std::uint32_t> outputBands,
        std::array<Gaps, 3> imageGaps, std::uint32_t bitsUsed)
        : pan(std::move(panImage)), ms(std::move(msImage)), infrared(std::move(infraredImage)),
          method(std::move(methodName)), weights(std::move(bandWeights)), infraredWeight(infraredShare),
          bands(std::move(outputBands)), holes(std::move(imageGaps)) {
        for (const auto& [gain, ratioGain] : bandGains)
            gains.push_back({gain, ratioGain});
        pansharp_job_init(&job, sizeof job);
        job.bits_per_sample = static_cast<std::uint32_t>(pan.itemsize()) * 8;
        job.pan = MakeImage(pan, {});
        job.multispectral = MakeImage(ms, msPlacement);
        if (infrared) job.infrared = MakeImage(*infrared, infraredPlacement);
        if (method) job.method = method->c_str();
        SetList(weights, job.weights, job.weight_count);
        SetList(gains, job.gains, job.gain_count);
        SetList(bands, job.output_bands, job.output_band_count);
        if (infraredWeight) job.infrared_weight = &*infraredWeight;
        job.transfer = transfer;
        if (lowPassMean) job.low_pass_mean = *lowPassMean > 0.0 ? *lowPassMean : PANSHARP_NO_MEAN;
        job.resampling = resampling;
        job.pan_gaps = MakeGaps(holes[0], job.pan);
        job.multispectral_gaps = MakeGaps(holes[1], job.multispectral);
        if (infrared) job.infrared_gaps = MakeGaps(holes[2], job.infrared);
        job.bits_used = bitsUsed;
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// Transfer, gains, mean of the low-pass (0 for none), R squared, samples, error and plain error.
    [[nodiscard]] py::tuple Fit() const {
        const pansharp* library = Library();
        std::vector<pansharp_gains> found(job.multispectral.bands);
        pansharp_detail detail{};
        Ask([&](char* error, std::size_t bytes) {
            return pansharp_fit(library, &job, found.data(), &detail, error, bytes);
        });
        py::tuple pairs(found.size());
        for (std::size_t band = 0; band < found.size(); ++band)
            pairs[band] = py::make_tuple(found[band].gain, found[band].ratio_gain);
        return py::make_tuple(detail.transfer, pairs, std::max(detail.low_pass_mean, 0.0),
                              detail.blur_r_squared, detail.samples, detail.error, detail.plain_error);
    }

    /// Weights, the infrared band's weight, R squared, samples, and why the weights are equal.
    [[nodiscard]] py::tuple FitWeights() const {
        const pansharp* library = Library();
        std::vector<double> found(job.multispectral.bands);
        pansharp_weight_fit fit{};
        fit.struct_size = sizeof fit;
        Ask([&](char* error, std::size_t bytes) {
            return pansharp_fit_weights(library, &job, found.data(), &fit, error, bytes);
        });
        return py::make_tuple(py::tuple(py::cast(found)), fit.infrared_weight, fit.r_squared, fit.samples,
                              std::string(fit.obstacle));
    }

    /// Pixels of the collars of the three images. With `upsamples` nothing is fused, and only the size of pan
    /// is used.
    [[nodiscard]] py::tuple Fuse(py::array out, std::optional<py::array> valid, std::uint32_t threads,
                                 const py::object& progress, bool upsamples) const {
        const pansharp* library = Library();
        CheckAxes(out);
        pansharp_job whole = job;
        if (valid) {
            if (valid->ndim() != 2 || valid->itemsize() != 1 || valid->shape(0) != out.shape(1) ||
                valid->shape(1) != out.shape(2))
                throw py::value_error("the mask must have the rows and columns of the output");
            whole.output_mask = {static_cast<std::uint8_t*>(valid->mutable_data()), valid->strides(0),
                                 valid->strides(1)};
        }
        pansharp_used used{};
        used.struct_size = sizeof used;
        whole.used = &used;
        whole.output = {out.mutable_data(), out.strides(1), out.strides(2), BandStride(out)};
        whole.threads = threads;
        Watch watch{progress, nullptr};
        whole.progress = &Watch::Tell;
        whole.progress_data = &watch;
        char error[2048];
        pansharp_result result = PANSHARP_FAILED;
        {
            const Calls::Running call;
            const py::gil_scoped_release released;
            result = (upsamples ? pansharp_upsample : pansharp_fuse)(library, &whole, error, sizeof error);
        }
        if (watch.thrown) std::rethrow_exception(watch.thrown);
        Check(result, error);
        return py::make_tuple(used.collars[0], used.collars[1], used.collars[2]);
    }

    /// Right, below, R squared, spread, windows and whether they agree; None if no shift can be measured.
    /// Then the pixels of the collars of the three images.
    [[nodiscard]] py::tuple MeasureShift() const {
        const pansharp* library = Library();
        pansharp_shift shift{};
        shift.struct_size = sizeof shift;
        pansharp_job pair = job;
        pansharp_used used{};
        used.struct_size = sizeof used;
        pair.used = &used;
        Ask([&](char* error, std::size_t bytes) {
            return pansharp_measure_shift(library, &pair, &shift, error, bytes);
        });
        py::object found = py::none();
        if (shift.is_found != 0)
            found = py::make_tuple(shift.right, shift.below, shift.r_squared, shift.spread, shift.windows,
                                   shift.is_agreed != 0);
        return py::make_tuple(found, py::make_tuple(used.collars[0], used.collars[1], used.collars[2]));
    }

    /// The pair one scale down: pan, the multispectral image and the truth, with bands interleaved by pixel;
    /// the mask of each, 0 without data; and the ratios across and down.
    [[nodiscard]] py::tuple Reduce(const std::vector<double>& transfers, double panTransfer) const {
        const pansharp* library = Library();
        pansharp_reduction r{};
        r.struct_size = sizeof r;
        SetList(transfers, r.transfers, r.transfer_count);
        r.pan_transfer = panTransfer;
        const auto reduce = [&] {
            Ask([&](char* error, std::size_t bytes) {
                return pansharp_reduce(library, &job, &r, error, bytes);
            });
        };
        reduce(); // first call: finds the sizes
        const auto image = [&](std::uint32_t rows, std::uint32_t columns, std::uint32_t count) {
            return py::array(pan.dtype(), std::vector<std::uint32_t>{rows, columns, count});
        };
        const auto mask = [](std::uint32_t rows, std::uint32_t columns) {
            return py::array_t<std::uint8_t>(std::vector<std::uint32_t>{rows, columns});
        };
        py::array finer = image(r.rows, r.columns, 1),
                  truth = image(r.rows, r.columns, job.multispectral.bands),
                  coarser = image(r.coarse_rows, r.coarse_columns, job.multispectral.bands);
        py::array_t<std::uint8_t> finerMask = mask(r.rows, r.columns), truthMask = mask(r.rows, r.columns),
                                  coarserMask = mask(r.coarse_rows, r.coarse_columns);
        r.pan = finer.mutable_data();
        r.truth = truth.mutable_data();
        r.multispectral = coarser.mutable_data();
        r.pan_valid = finerMask.mutable_data();
        r.truth_valid = truthMask.mutable_data();
        r.multispectral_valid = coarserMask.mutable_data();
        reduce();
        return py::make_tuple(finer, finerMask, coarser, coarserMask, truth, truthMask, r.ratio_x, r.ratio_y);
    }

    /// The quality of an image and of bilinear upsampling by the pair of the job, in the form of Tell; then
    /// the pixels of the collars of pan and of the bands.
    [[nodiscard]] py::tuple AssessPair(const py::array& image, const Gaps& gaps,
                                       const std::vector<double>& transfers, double panTransfer, double ratio,
                                       std::uint32_t threads) const {
        const pansharp* library = Library();
        pansharp_pair_assessment a{};
        a.struct_size = sizeof a;
        a.image = MakeImage(image, {});
        a.image_gaps = MakeGaps(gaps, a.image);
        SetList(transfers, a.transfers, a.transfer_count);
        a.pan_transfer = panTransfer;
        a.ratio = ratio;
        std::vector<pansharp_band_quality> fused(job.multispectral.bands), upsampled(fused.size());
        a.fused.bands = fused.data();
        a.upsampled.bands = upsampled.data();
        pansharp_job pair = job;
        pansharp_used used{};
        used.struct_size = sizeof used;
        pair.used = &used;
        pair.threads = threads;
        Ask([&](char* error, std::size_t bytes) {
            return pansharp_assess_pair(library, &pair, &a, error, bytes);
        });
        return py::make_tuple(Tell(a.fused, fused), Tell(a.upsampled, upsampled),
                              py::make_tuple(used.collars[0], used.collars[1]));
    }

private:
    template <class Item>
    static void SetList(const std::vector<Item>& list, const Item*& items, std::uint32_t& count) {
        if (list.empty()) return;
        items = list.data();
        count = Count(static_cast<py::ssize_t>(list.size()));
    }

    py::array pan, ms;
    std::optional<py::array> infrared;
    std::optional<std::string> method;
    std::vector<double> weights;
    std::optional<double> infraredWeight;
    std::vector<pansharp_gains> gains;
    std::vector<std::uint32_t> bands;
    std::array<Gaps, 3> holes;
    pansharp_job job{};
};

/// The quality of an image by a reference, each with its mask: pixels, mean Q, angle, ERGAS, and per band
/// bias, RMSE, PSNR, Q and spatial correlation.
py::tuple Assess(const py::array& image, const Gaps& imageGaps, const py::array& reference,
                 const Gaps& referenceGaps, double ratio) {
    pansharp_assessment a{};
    a.struct_size = sizeof a;
    a.bits_per_sample = static_cast<std::uint32_t>(image.itemsize()) * 8;
    a.image = MakeImage(image, {});
    a.reference = MakeImage(reference, {});
    a.image_gaps = MakeGaps(imageGaps, a.image);
    a.reference_gaps = MakeGaps(referenceGaps, a.reference);
    a.ratio = ratio;
    std::vector<pansharp_band_quality> bands(a.image.bands);
    a.bands = bands.data();
    Ask([&](char* error, std::size_t bytes) { return pansharp_assess(&a, error, bytes); });
    return py::make_tuple(a.pixels, a.q, a.sam, a.ergas, Tell(bands));
}

/// Per method: keyword, summary, formula, advice, least bands, number of fused bands, and whether it weighs
/// bands, compares pan with its low-pass, and is recommended.
py::tuple Methods() {
    py::list methods;
    const pansharp* library = Library();
    pansharp_method_info info{};
    for (std::uint32_t i = 0; pansharp_describe_method(library, i, &info, sizeof info) != 0; ++i)
        methods.append(py::make_tuple(info.keyword, info.summary, info.formula, info.advice,
                                      info.minimum_bands, info.fused_bands, info.weighs_bands != 0,
                                      info.uses_low_pass != 0, info.recommended != 0));
    return py::tuple(methods);
}

} // namespace

PYBIND11_MODULE(_arrays, module) {
    module.attr("version") = pansharp_version();
    Calls::WaitAtEnd();
    module.def("methods", &Methods);
    module.def("assess", &Assess);
    module.def("plugin_path", [] { return std::string(pansharp_plugin_path(Library())); });
    py::class_<Job>(module, "Job")
        .def(py::init<py::array, py::array, const Placement&, std::optional<py::array>, const Placement&,
                      std::optional<std::string>, std::vector<double>, std::optional<double>,
                      const std::vector<Gains>&, double, std::optional<double>, std::uint32_t,
                      std::vector<std::uint32_t>, std::array<Gaps, 3>, std::uint32_t>())
        .def("fit", &Job::Fit)
        .def("assess", &Job::AssessPair)
        .def("fit_weights", &Job::FitWeights)
        .def("measure_shift", &Job::MeasureShift)
        .def("reduce", &Job::Reduce)
        .def("fuse", &Job::Fuse);
}
