#include "capi/FuseJob.h"

#include "capi/JobGaps.h"

#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "hostkit/MethodTable.h"
#include "hostkit/WindowWorker.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace capi {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

bool Refuse(Status& status, const std::string& message) {
    status.Add(CStatus::BadArgument, message, CStatus::Source);
    return false;
}

namespace {

bool TakeJob(const pansharp_job& given, pansharp_job& job, Status& status) {
    return TakeStructure({"job", "pansharp_job", offsetof(pansharp_job, resampling),
                          "call pansharp_job_init(&job, sizeof job) before filling the job"},
                         &given, job, status);
}

bool CheckLayout(const char* name, const void* samples, Layout& layout, Status& status) {
    if (!samples)
        return Refuse(status, FormatString("%s.samples is null; give the address of the first sample", name));
    if (layout.columns == 0 || layout.rows == 0 || layout.bands == 0)
        return Refuse(status, FormatString("%s has %u columns, %u rows and %u bands; none may be 0", name,
                                           layout.columns, layout.rows, layout.bands));
    // Samples per row are counted in 32 bits.
    if (std::uint64_t{layout.columns} * layout.bands > std::numeric_limits<std::uint32_t>::max())
        return Refuse(status, FormatString("%s has %u columns of %u bands; a row may have 4294967295 samples "
                                           "at most",
                                           name, layout.columns, layout.bands));
    if (!FillStrides(layout))
        return Refuse(status,
                      FormatString("%s: give its three strides, or 0 for all of them when the samples "
                                   "are packed with bands interleaved by pixel",
                                   name));
    if (!FindRange(samples, layout))
        return Refuse(status, FormatString("%s: %u columns, %u rows and %u bands with these strides reach "
                                           "beyond what memory can hold",
                                           name, layout.columns, layout.rows, layout.bands));
    return true;
}

} // namespace

bool ReadImage(const char* name, const pansharp_image& given, std::uint32_t bits, InputImage& image,
               Status& status) {
    image.name = name;
    image.samples = static_cast<const unsigned char*>(given.samples);
    image.layout = {given.columns,    given.rows,         given.bands,      bits / 8,
                    given.row_stride, given.pixel_stride, given.band_stride};
    if (!CheckLayout(name, given.samples, image.layout, status)) return false;
    image.info.cols = given.columns;
    image.info.rows = given.rows;
    image.info.bandsPerPixel = given.bands;
    image.info.bitsPerBand = bits;
    return true;
}

namespace {

bool ReadPan(const pansharp_image& given, std::uint32_t bits, InputImage& pan, Status& status) {
    if (!ReadImage("pan", given, bits, pan, status)) return false;
    if (given.bands != 1)
        return Refuse(status, FormatString("pan has %u bands; it must have one", given.bands));
    if (given.pixel_width != 0 || given.pixel_height != 0 || given.offset_x != 0 || given.offset_y != 0)
        return Refuse(status, "pan.pixel_width, pixel_height, offset_x and offset_y must be 0: the other "
                              "images are placed under pan");
    pan.info.pixelSizeX = pan.info.pixelSizeY = 1.0;
    pan.info.xMax = pan.info.cols;
    pan.info.yMin = -static_cast<double>(pan.info.rows);
    return true;
}

/// Prepares a job whose rows come from a callback: its images have no samples, and the callback's are packed.
bool TakeRows(pansharp_job& job, Status& status) {
    static const char anywhere = 0;
    for (pansharp_image* image : {&job.pan, &job.multispectral, &job.infrared}) {
        if (image->samples || image->row_stride || image->pixel_stride || image->band_stride)
            return Refuse(status,
                          "the samples and strides of the images must be 0: rows.read gives their pixels");
        // Never read. The infrared image may be absent.
        if (image != &job.infrared || image->columns != 0 || image->rows != 0 || image->bands != 0)
            image->samples = &anywhere;
    }
    if (job.output.samples)
        return Refuse(status, "output.samples must be null: rows.write takes the fused rows");
    return true;
}

/// Prepares a job that only upsamples: only the size of pan is used.
void TakeSize(pansharp_job& job) {
    static const char anywhere = 0;
    job.pan.samples = &anywhere; // never read
    job.pan.row_stride = job.pan.pixel_stride = job.pan.band_stride = 0;
    job.pan_gaps = {};
    job.infrared_gaps = {};
    job.infrared = {};
    job.used = nullptr;
}

/// One axis of an image under pan.
struct Axis {
    const char* image;
    const char* size;   ///< name of the pixel size
    const char* offset; ///< name of the offset
    const char* pixels; ///< "columns" or "rows"
    double givenSize;
    double givenOffset;
    std::uint32_t panPixels;
    std::uint32_t ownPixels;
};

bool PlaceAxis(const Axis& axis, double& pixelSize, Status& status) {
    constexpr double noise = 1e-6;
    pixelSize = axis.givenSize == 0.0 ? static_cast<double>(axis.panPixels) / axis.ownPixels : axis.givenSize;
    if (!(pixelSize >= 1.0 - noise && pixelSize < 1e4))
        return Refuse(status,
                      FormatString("a pixel of %s is %.10g pan pixels (%s: %u %s to %u of pan); it must "
                                   "be 1 or more and less than 10000: are the images exchanged?",
                                   axis.image, pixelSize, axis.size, axis.ownPixels, axis.pixels,
                                   axis.panPixels));
    // Up to one pixel around the image takes the samples of its edge.
    const double end = axis.givenOffset + axis.panPixels / pixelSize;
    if (!(axis.givenOffset >= -1.0 - noise && end <= axis.ownPixels + 1.0 + noise))
        return Refuse(status,
                      FormatString("pan lies on the %s %.10g to %.10g of %s, which has 0 to %u and one "
                                   "more on either side at most; correct %s.%s or %s.%s",
                                   axis.pixels, axis.givenOffset, end, axis.image, axis.ownPixels, axis.image,
                                   axis.offset, axis.image, axis.size));
    return true;
}

/// Places the image under pan, in units of pan pixels from pan's corner, with the vertical axis upward.
bool PlaceImage(const char* name, const pansharp_image& given, const InputImage& pan, InputImage& image,
                Status& status) {
    KOVA::Tessara::Pixmere::RasterInfo& info = image.info;
    const double across = static_cast<double>(pan.info.cols) / info.cols;
    const double down = static_cast<double>(pan.info.rows) / info.rows;
    if (given.pixel_width == 0.0 && given.pixel_height == 0.0 && across >= 1.0 && down >= 1.0 &&
        std::max(across, down) > 2.0 * std::min(across, down))
        return Refuse(status, FormatString("a pixel of %s would be %.4g pan pixels wide and %.4g high by the "
                                           "sizes of the images: are its columns, rows and bands exchanged? "
                                           "Give pixel_width and pixel_height if it is meant",
                                           name, across, down));
    if (!PlaceAxis({name, "pixel_width", "offset_x", "columns", given.pixel_width, given.offset_x,
                    pan.info.cols, info.cols},
                   info.pixelSizeX, status) ||
        !PlaceAxis({name, "pixel_height", "offset_y", "rows", given.pixel_height, given.offset_y,
                    pan.info.rows, info.rows},
                   info.pixelSizeY, status))
        return false;
    info.xMin = -given.offset_x * info.pixelSizeX;
    info.xMax = info.xMin + info.cols * info.pixelSizeX;
    info.yMax = given.offset_y * info.pixelSizeY;
    info.yMin = info.yMax - info.rows * info.pixelSizeY;
    return true;
}

bool ReadOutputBands(const pansharp_job& given, FuseJob& job, Status& status) {
    const std::uint32_t bands = job.multispectral.info.bandsPerPixel;
    if (given.output_bands ? given.output_band_count == 0 : given.output_band_count != 0)
        return Refuse(status,
                      "job.output_bands and job.output_band_count: give both, or neither for all bands");
    for (std::uint32_t i = 0; i < given.output_band_count; ++i) {
        const std::uint32_t band = given.output_bands[i];
        if (band == 0 || band > bands)
            return Refuse(status,
                          FormatString("job.output_bands[%u] is %u; bands count from 1, and there are "
                                       "%u multispectral ones",
                                       i, band, bands));
        job.outputBands.push_back(band - 1);
    }
    if (job.outputBands.empty())
        for (std::uint32_t band = 0; band < bands; ++band)
            job.outputBands.push_back(band);
    job.processBands = *std::max_element(job.outputBands.begin(), job.outputBands.end()) + 1;
    return true;
}

bool ReadOutput(const pansharp_output& given, FuseJob& job, Status& status) {
    Layout& layout = job.outputLayout;
    layout = {
        job.pan.info.cols,          job.pan.info.rows, static_cast<std::uint32_t>(job.outputBands.size()),
        job.pan.layout.sampleBytes, given.row_stride,  given.pixel_stride,
        given.band_stride};
    job.output = static_cast<unsigned char*>(given.samples);
    if (!CheckLayout("output", given.samples, layout, status)) return false;
    if (!KeepsSamplesApart(layout))
        return Refuse(status, "output: with these strides samples would overwrite each other");
    return CheckMemory("output", *FindRange(given.samples, layout), job, status);
}

/// The named method, or the default: the recommended one, but the plug-in's first if weights or an infrared
/// image are given.
const PansharpMethod* ChooseMethod(const pansharp_job& given, const PansharpDescription& plugin,
                                   const FuseJob& job, Status& status) {
    const bool weighs = given.weights || given.infrared_weight || job.infrared;
    const char* keyword = given.method                        ? given.method
                          : weighs && plugin.methodCount != 0 ? plugin.methods[0].keyword
                                                              : "";
    return hostkit::FindMethod(plugin, keyword, status);
}

/// Reads how pan's detail is added to the bands.
bool ReadDetail(const pansharp_job& given, FuseJob& job, Status& status) {
    const bool usesLowPass = hostkit::UsesLowPass(*job.method);
    if (given.gains ? given.gain_count == 0 : given.gain_count != 0)
        return Refuse(status, "job.gains and job.gain_count: give both, or neither to have them fitted");
    if (!usesLowPass && (given.gains || given.transfer != 0.0 || given.low_pass_mean != 0.0))
        return Refuse(status,
                      FormatString("the method %s does not compare pan with its low-pass; leave "
                                   "job.gains, transfer and low_pass_mean out or choose another method",
                                   job.method->keyword));
    for (std::uint32_t band = 0; band < given.gain_count; ++band)
        job.known.gains.push_back({given.gains[band].gain, given.gains[band].ratio_gain});
    if (given.transfer != 0.0) job.known.transfer = given.transfer;
    if (const std::string fault = fitting::FindFault(job.known, job.multispectral.info.bandsPerPixel);
        !fault.empty())
        return Refuse(status, fault);
    const bool hasNone = given.low_pass_mean == PANSHARP_NO_MEAN;
    if (given.low_pass_mean != 0.0) job.lowPassMean = hasNone ? 0.0 : given.low_pass_mean;
    if (!hasNone && !(given.low_pass_mean >= 0.0 && std::isfinite(given.low_pass_mean)))
        return Refuse(status, FormatString("job.low_pass_mean is %.10g; give a number above 0, 0 for that of "
                                           "these images, or PANSHARP_NO_MEAN",
                                           given.low_pass_mean));
    if (given.resampling > PANSHARP_CUBIC)
        return Refuse(status,
                      FormatString("job.resampling is %u; give a pansharp_resampling", given.resampling));
    const bool isCubic = given.resampling == PANSHARP_CUBIC ||
                         (given.resampling == PANSHARP_RESAMPLING_DEFAULT && usesLowPass);
    job.resampling = isCubic ? hostkit::Resampling::Cubic : hostkit::Resampling::Bilinear;
    return true;
}

bool IsWritten(JobUse use) { return use == JobUse::Fuse || use == JobUse::Upsample; }

/// A method that fuses a fixed number of bands gets the chosen ones first, and beside an infrared image no
/// further ones, which it would take for infrared. Other methods fuse all bands in the order of the image;
/// another order would change their sums by rounding at most.
bool OrderBands(const PansharpMethod& method, FuseJob& job, Status& status) {
    if (method.fusedBands == 0 || hostkit::WeighsBands(method) || hostkit::UsesLowPass(method)) return true;
    std::uint32_t& bands = job.multispectral.info.bandsPerPixel;
    std::vector<std::uint32_t> order;
    const auto place = [&order](std::uint32_t band) {
        const auto at = std::find(order.begin(), order.end(), band) - order.begin();
        if (at == std::ssize(order)) order.push_back(band);
        return static_cast<std::uint32_t>(at);
    };
    for (std::uint32_t& band : job.outputBands)
        band = place(band);
    job.processBands = static_cast<std::uint32_t>(order.size());
    for (std::uint32_t band = 0; band < bands; ++band)
        place(band);
    if (job.infrared && bands > method.fusedBands) {
        if (job.processBands > method.fusedBands)
            return Refuse(status, FormatString("the method %s writes %u bands when there is an infrared one; "
                                               "job.output_bands names %u",
                                               method.keyword, method.fusedBands, job.processBands));
        bands = method.fusedBands;
        order.resize(bands);
    }
    if (!std::is_sorted(order.begin(), order.end()) || bands < job.multispectral.layout.bands)
        job.multispectral.layout.bandOrder = std::move(order);
    return true;
}

bool ReadUpsampling(const pansharp_job& given, FuseJob& job, Status& status) {
    job.processBands = job.multispectral.info.bandsPerPixel; // the chain delivers all of them
    job.pan.samples = nullptr;
    job.resampling =
        given.resampling == PANSHARP_BILINEAR ? hostkit::Resampling::Bilinear : hostkit::Resampling::Cubic;
    return given.resampling <= PANSHARP_CUBIC ||
           Refuse(status, FormatString("job.resampling is %u; give a pansharp_resampling", given.resampling));
}

/// Reads the method and the properties of its process objects.
bool ReadMethod(const pansharp_job& given, const PansharpDescription& plugin, JobUse use, FuseJob& job,
                Status& status) {
    const PansharpMethod* method = job.method = ChooseMethod(given, plugin, job, status);
    if (!method || (given.output_bands && !OrderBands(*method, job, status))) return false;
    const hostkit::WeightedBands bands{job.multispectral.info.bandsPerPixel, job.infrared.has_value(),
                                       hostkit::UsesLowPass(*method)};
    if (bands.multispectral < method->minimumBands)
        return Refuse(status, FormatString("the method %s needs %u multispectral bands or more; there are %u",
                                           method->keyword, method->minimumBands, bands.multispectral));
    if (given.weights ? given.weight_count == 0 : given.weight_count != 0)
        return Refuse(status, "job.weights and job.weight_count: give both, or neither for equal weights");
    hostkit::EffectiveWeights& weights = job.weights;
    if (use != JobUse::FitWeights) weights.bands.assign(given.weights, given.weights + given.weight_count);
    if (given.infrared_weight) weights.infrared = job.infraredWeight = *given.infrared_weight;
    job.properties[PropertyNames::method] = method->keyword;
    job.properties[PropertyNames::multispectralImage] = hostkit::multispectralId;
    if (bands.lowPass) job.properties[PropertyNames::additionalImage] = hostkit::lowPassId;
    if (job.infrared) job.properties[PropertyNames::additionalImage] = hostkit::infraredId;
    job.properties[PropertyNames::outputBands] = FormatString("%u", job.processBands);
    hostkit::SetScalars(*method, std::nullopt, job.properties);
    if (!hostkit::SetWeights(*method, bands, weights, job.properties, status)) return false;
    if (const std::string fault = hostkit::FindFault(*method, weights);
        use != JobUse::FitWeights && !fault.empty())
        return Refuse(status, fault);
    return ReadDetail(given, job, status);
}

} // namespace

bool CopyStructure(const StructureName& of, const void* given, std::size_t givenSize, void* known,
                   std::size_t knownSize, Status& status) {
    if (!given) return Refuse(status, FormatString("%s is null; give the address of a %s", of.name, of.type));
    constexpr std::size_t most = 65536; // a larger size was never set
    if (givenSize < of.least || givenSize > most) {
        const std::string usual = FormatString("set it to sizeof(%s) before the call", of.type);
        return Refuse(status, FormatString("%s.struct_size is %zu, which is not its size; %s", of.name,
                                           givenSize, of.advice ? of.advice : usual.c_str()));
    }
    const auto* bytes = static_cast<const unsigned char*>(given);
    if (givenSize > knownSize &&
        std::any_of(bytes + knownSize, bytes + givenSize, [](unsigned char byte) { return byte != 0; }))
        return Refuse(status, std::string(of.name) +
                                  " uses members that this libpansharp does not have; install a "
                                  "newer one or leave them out");
    std::memset(known, 0, knownSize);
    std::memcpy(known, bytes, std::min(givenSize, knownSize));
    return true;
}

bool ReadJob(const pansharp_job& given, const PansharpDescription& plugin, JobUse use, FuseJob& job,
             Status& status) {
    pansharp_job known;
    if (!TakeJob(given, known, status)) return false;
    if (use == JobUse::Rows && !TakeRows(known, status)) return false;
    job.isUpsampled = use == JobUse::Upsample;
    if (job.isUpsampled) TakeSize(known);
    const std::uint32_t bits = known.bits_per_sample;
    if (bits != 8 && bits != 16)
        return Refuse(status, FormatString("job.bits_per_sample is %u; samples of 8 and of 16 bits can be "
                                           "fused (put 9 to 15 bits into 16)",
                                           bits));
    if (!ReadPan(known.pan, bits, job.pan, status) ||
        !ReadImage("multispectral", known.multispectral, bits, job.multispectral, status) ||
        !PlaceImage("multispectral", known.multispectral, job.pan, job.multispectral, status))
        return false;
    if (known.infrared.samples) {
        InputImage& infrared = job.infrared.emplace();
        if (!ReadImage("infrared", known.infrared, bits, infrared, status) ||
            !PlaceImage("infrared", known.infrared, job.pan, infrared, status))
            return false;
        if (known.infrared.bands != 1)
            return Refuse(status,
                          FormatString("infrared has %u bands; it must have one", known.infrared.bands));
    } else if (known.infrared.columns != 0 || known.infrared.rows != 0) {
        return Refuse(status, "infrared has a size but infrared.samples is null; leave all of it 0 for none");
    }
    if (std::uint64_t{job.pan.info.cols} * (std::uint64_t{job.multispectral.info.bandsPerPixel} + 1) >
        std::numeric_limits<std::uint32_t>::max())
        return Refuse(status,
                      "a row of pan with all bands has more than 4294967295 samples; fuse it in parts");
    if (!ReadGaps(known, use, job, status) || !ReadOutputBands(known, job, status) ||
        (IsWritten(use) &&
         (!ReadOutput(known.output, job, status) || !ReadOutputMask(known.output_mask, job, status))) ||
        !(use == JobUse::Pair || use == JobUse::Reduce ? true
          : use == JobUse::Upsample                    ? ReadUpsampling(known, job, status)
                                                       : ReadMethod(known, plugin, use, job, status)))
        return false;
    if (known.used && !TakeStructure({"job.used", "pansharp_used", offsetof(pansharp_used, detail)},
                                     known.used, job.used, status))
        return false;
    job.usedGoes = known.used;
    job.threads = known.threads;
    job.progress = known.progress;
    job.progressData = known.progress_data;
    return true;
}

bool SettleDetail(const fitting::DetailFit& found, FuseJob& job, Status& status) {
    std::vector<double> gains, ratioGains;
    for (const fitting::BandGains& band : found.gains) {
        gains.push_back(band.gain);
        ratioGains.push_back(band.ratioGain);
    }
    job.lowPass = std::make_shared<hostkit::PanLowPass>(job.pan.info, job.multispectral.info, found.transfer);
    hostkit::SetScalars(*job.method, found.lowPassMean, job.properties);
    return hostkit::SetGains(*job.method, gains, ratioGains, job.properties, status);
}

} // namespace capi
