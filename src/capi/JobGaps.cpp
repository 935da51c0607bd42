#include "capi/JobGaps.h"

#include "fundament/Text.h"
#include "imagery/CollarSearch.h"
#include "imagery/OutputRow.h"

#include <array>

namespace capi {

using imagery::CollarFinding;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;

namespace {

/// Reads a mask: one byte per pixel of an image.
bool ReadMask(const char* name, std::ptrdiff_t rowStride, std::ptrdiff_t pixelStride, const void* valid,
              const InputImage& image, Layout& layout, Status& status) {
    layout = {image.info.cols, image.info.rows, 1, 1, rowStride, pixelStride, 0};
    if (!FillStrides(layout) || !FindRange(valid, layout))
        return Refuse(status,
                      FormatString("%s: give both strides of its mask, or 0 for both when its bytes are "
                                   "packed",
                                   name));
    return true;
}

} // namespace

bool ReadGapsOf(const pansharp_gaps& given, InputImage& image, Status& status) {
    Gaps& gaps = image.gaps;
    if (given.rules > (PANSHARP_NO_DATA_VALUE | PANSHARP_COLLAR))
        return Refuse(status,
                      FormatString("%s_gaps.rules is %u; give values of pansharp_gap_rule, combined with |",
                                   image.name, given.rules));
    const std::uint32_t largest = (1u << image.info.bitsPerBand) - 1;
    const bool hasValue = (given.rules & PANSHARP_NO_DATA_VALUE) != 0;
    if (given.no_data > (hasValue ? largest : 0))
        return Refuse(status, hasValue
                                  ? FormatString("%s_gaps.no_data is %u; no sample of %u bits is so large",
                                                 image.name, given.no_data, image.info.bitsPerBand)
                                  : FormatString("%s_gaps.no_data is %u; add PANSHARP_NO_DATA_VALUE to its "
                                                 "rules if that means no data",
                                                 image.name, given.no_data));
    if (hasValue) gaps.noData = given.no_data;
    gaps.valid = given.valid;
    gaps.isWhole = (given.rules & PANSHARP_COLLAR) != 0;
    const std::string name = FormatString("%s_gaps", image.name);
    return !gaps.valid || ReadMask(name.c_str(), given.row_stride, given.pixel_stride, gaps.valid, image,
                                   gaps.layout, status);
}

namespace {

bool IsEmpty(const pansharp_gaps& gaps) { return !gaps.valid && gaps.rules == 0; }

bool FindCollar(InputImage& image, std::uint64_t& pixels, Status& status) {
    Gaps& gaps = image.gaps;
    if (!gaps.isWhole) return true;
    ArraySource source(image);
    if (!gaps.valid && gaps.noData != 0u &&
        imagery::FindCollar(source, {}, gaps.collar, status) == CollarFinding::Everything)
        return Refuse(status, FormatString("every pixel of %s is 0 in all bands; is it the right one? Leave "
                                           "PANSHARP_COLLAR out to treat zeros as data",
                                           image.name));
    pixels = gaps.collar ? gaps.collar->GetPixels() : 0;
    if (!gaps.MayLackData() || imagery::SearchData(source, {}) == imagery::DataSearch::Found) return true;
    return Refuse(status,
                  FormatString("no pixel of %s has data in all its bands; is its mask 0, or its value for no "
                               "data wrong?",
                               image.name));
}

} // namespace

bool CheckMemory(const char* name, const AddressRange& range, const FuseJob& job, Status& status) {
    const auto overlaps = [&](const InputImage& image) {
        return range.Overlaps(*FindRange(image.samples, image.layout)) ||
               (image.gaps.valid && range.Overlaps(*FindRange(image.gaps.valid, image.gaps.layout)));
    };
    if ((!job.isUpsampled && overlaps(job.pan)) || overlaps(job.multispectral) ||
        (job.infrared && overlaps(*job.infrared)))
        return Refuse(status,
                      FormatString("%s lies in the memory of an image that is read; give it memory of "
                                   "its own",
                                   name));
    return true;
}

bool ReadGaps(const pansharp_job& given, JobUse use, FuseJob& job, Status& status) {
    const std::uint32_t bits = job.pan.info.bitsPerBand;
    if (given.bits_used != 0 && (bits != 16 || given.bits_used < 9 || given.bits_used > 16))
        return Refuse(status,
                      FormatString("job.bits_used is %u; give 9 to 16 where samples have 16 bits, or 0",
                                   given.bits_used));
    job.largest = (1u << (given.bits_used != 0 ? given.bits_used : bits)) - 1;
    const bool areEmpty =
        IsEmpty(given.pan_gaps) && IsEmpty(given.multispectral_gaps) && IsEmpty(given.infrared_gaps);
    if (use == JobUse::Rows && !(areEmpty && !given.output_mask.valid))
        return Refuse(status,
                      "gaps and masks must be left out: where rows are asked for, every pixel has data");
    if (!job.infrared && !IsEmpty(given.infrared_gaps))
        return Refuse(status, "infrared_gaps are given, and no infrared image");
    if (!ReadGapsOf(given.pan_gaps, job.pan, status) ||
        !ReadGapsOf(given.multispectral_gaps, job.multispectral, status) ||
        (job.infrared && !ReadGapsOf(given.infrared_gaps, *job.infrared, status)))
        return false;
    job.noData = job.multispectral.gaps.noData;
    if (!job.noData) job.noData = job.pan.gaps.noData;
    if (!job.noData && job.infrared) job.noData = job.infrared->gaps.noData;
    return true;
}

bool ReadOutputMask(const pansharp_mask& given, FuseJob& job, Status& status) {
    if (!given.valid) return true;
    job.outputValid = given.valid;
    if (!ReadMask("output_mask", given.row_stride, given.pixel_stride, job.outputValid, job.pan,
                  job.validLayout, status))
        return false;
    if (!KeepsSamplesApart(job.validLayout))
        return Refuse(status, "output_mask: with these strides its bytes would overwrite each other");
    const AddressRange range = *FindRange(job.outputValid, job.validLayout);
    if (range.Overlaps(*FindRange(job.output, job.outputLayout)))
        return Refuse(status, "output_mask lies in the memory of the output; give it memory of its own");
    return CheckMemory("output_mask", range, job, status);
}

bool FindCollars(FuseJob& job, Status& status) {
    std::array<std::uint64_t, 3> pixels{};
    if (!FindCollar(job.pan, pixels[0], status) || !FindCollar(job.multispectral, pixels[1], status) ||
        (job.infrared && !FindCollar(*job.infrared, pixels[2], status)))
        return false;
    std::copy(pixels.begin(), pixels.end(), job.used.collars);
    return true;
}

RowFinish::RowFinish(const FuseJob& fuseJob)
    : job(fuseJob),
      isNeeded(job.noData || job.MayLackData() || job.largest < (1u << job.pan.info.bitsPerBand) - 1),
      tally(job.processBands) {}

const unsigned char* RowFinish::Finish(const unsigned char* fused, const unsigned char* valid,
                                       std::size_t columns) {
    if (!isNeeded) return fused;
    const imagery::OutputRules rules{job.processBands, job.largest, job.noData};
    row.resize(columns * job.processBands);
    auto* bytes = reinterpret_cast<unsigned char*>(row.data());
    if (job.pan.info.bitsPerBand == 8)
        imagery::MakeOutputRow(fused, valid, columns, rules, bytes, tally);
    else
        imagery::MakeOutputRow(reinterpret_cast<const unsigned short*>(fused), valid, columns, rules,
                               row.data(), tally);
    return bytes;
}

} // namespace capi
