#include "Scene.h"

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <limits>

namespace {

using namespace testcapi;
using testing::HasSubstr;

/// A valid job: pan of 8 x 6 pixels, three bands of 4 x 3 pixels, 16 bits.
struct FuseJob : testing::Test {
    const Library library = Open();
    Scene scene{16, {8, 6}, {4, 3}, 3, Shape::Packed, Shape::Packed};
};

constexpr std::ptrdiff_t farthest = std::numeric_limits<std::ptrdiff_t>::max();
const double two[] = {0.5, 0.5};
const std::uint8_t noData[48] = {};
/// Memory that nobody has initialised, except for the size.
pansharp_used Used(std::size_t size) {
    pansharp_used used;
    std::memset(&used, 0xAA, sizeof used);
    used.struct_size = size;
    return used;
}
pansharp_used unsized = Used(0);
const double opposed[] = {0.5, -1, 0};
const std::uint32_t noBand[] = {1, 4};
const pansharp_gains threeGains[] = {{0.5, 0.0}, {0.0, 1.0}, {0.5, -1.0}};

TEST_F(FuseJob, RefusesWhatContradictsItself) {
    const struct {
        std::function<void(pansharp_job&)> change;
        const char* says;
    } cases[] = {
        {[](auto& job) { job.struct_size = 0; }, "call pansharp_job_init"},
        {[](auto& job) { job.bits_per_sample = 12; }, "bits_per_sample is 12"},
        {[](auto& job) { job.pan.samples = nullptr; }, "pan.samples is null"},
        {[](auto& job) { job.multispectral.samples = nullptr; }, "multispectral.samples is null"},
        {[](auto& job) { job.output.samples = nullptr; }, "output.samples is null"},
        {[](auto& job) { job.pan.columns = 0; }, "pan has 0 columns, 6 rows and 1 bands"},
        {[](auto& job) { job.pan.bands = 2; }, "pan has 2 bands; it must have one"},
        {[](auto& job) { job.pan.offset_x = 1; }, "pan.pixel_width, pixel_height, offset_x and offset_y"},
        {[](auto& job) { job.multispectral.bands = 0x60000000; }, "samples at most"},
        {[](auto& job) { job.multispectral.row_stride = 0; }, "multispectral: give its three strides"},
        {[](auto& job) { job.output.pixel_stride = 0; }, "output: give its three strides"},
        {[](auto& job) { job.pan.row_stride = farthest / 2; },
         "pan: 8 columns, 6 rows and 1 bands with these"},
        {[](auto& job) { job.multispectral.row_stride = -farthest - 1; }, "beyond what memory can hold"},
        {[](auto& job) { job.output.band_stride = farthest; }, "output: 8 columns, 6 rows and 3 bands with"},
        {[](auto& job) { job.output.row_stride = 4; }, "overwrite each other"},
        {[](auto& job) { job.output.band_stride = 1; }, "overwrite each other"},
        {[](auto& job) { job.output.samples = const_cast<void*>(job.pan.samples); }, "memory of an image"},
        {[](auto& job) { std::swap(job.pan.columns, job.multispectral.columns); },
         "are the images exchanged?"},
        {[](auto& job) { job.multispectral.pixel_height = 0.5; }, "pixel_height: 3 rows to 6 of pan"},
        {[](auto& job) { job.multispectral.pixel_width = NAN; }, "are the images exchanged?"},
        {[](auto& job) { job.multispectral.offset_x = 1.5; }, "columns 1.5 to 5.5 of multispectral"},
        {[](auto& job) { job.multispectral.offset_y = -1.25; }, "correct multispectral.offset_y"},
        {[](auto& job) { job.infrared.columns = 4; }, "infrared.samples is null"},
        {[](auto& job) { job.infrared = job.multispectral; }, "infrared has 3 bands"},
        {[](auto& job) { job.output_band_count = 2; }, "job.output_bands and job.output_band_count"},
        {[](auto& job) { job.output_bands = noBand, job.output_band_count = 2; }, "output_bands[1] is 4"},
        {[](auto& job) { job.method = "Median"; }, "there is no method 'Median'; the plug-in has KOVA"},
        {[](auto& job) { job.method = "IHS", job.multispectral.bands = 2; }, "needs 3 multispectral bands"},
        {[](auto& job) { job.weights = two; }, "job.weights and job.weight_count"},
        {[](auto& job) { job.weights = two, job.weight_count = 2; }, "2 weights are given for 3"},
        {[](auto& job) { job.weights = opposed, job.weight_count = 3; }, "add up to -0.5"},
        {[](auto& job) { job.infrared_weight = two; }, "there is no infrared band"},
        {[](auto& job) { job.resampling = 3; }, "job.resampling is 3"},
        {[](auto& job) { job.transfer = 0.3; }, "the method KOVA does not compare pan with its low-pass"},
        {[](auto& job) { job.method = nullptr, job.gains = threeGains; }, "job.gains and job.gain_count"},
        {[](auto& job) { job.method = nullptr, job.gains = threeGains, job.gain_count = 2; },
         "2 pairs of gains"},
        {[](auto& job) { job.method = nullptr, job.gains = threeGains, job.gain_count = 3; },
         "gains of band 3"},
        {[](auto& job) { job.method = nullptr, job.transfer = NAN; }, "the modulation transfer"},
        {[](auto& job) { job.method = nullptr, job.low_pass_mean = -2; }, "low_pass_mean is -2"},
        {[](auto& job) { job.method = "Injection", job.infrared_weight = two; }, "leave weights"},
        {[](auto& job) { job.multispectral.columns = 1; }, "columns, rows and bands exchanged"},
        {[](auto& job) { job.bits_used = 8; }, "bits_used is 8"},
        {[](auto& job) { job.pan_gaps.rules = 4; }, "pan_gaps.rules is 4"},
        {[](auto& job) { job.pan_gaps.no_data = 1; }, "add PANSHARP_NO_DATA_VALUE"},
        {[](auto& job) {
             job.multispectral_gaps = {nullptr, 0, 0, PANSHARP_NO_DATA_VALUE, 65536};
         },
         "no sample of 16 bits"},
        {[](auto& job) { job.infrared_gaps.rules = PANSHARP_COLLAR; }, "no infrared image"},
        {[](auto& job) { job.pan_gaps.valid = noData, job.pan_gaps.row_stride = 8; }, "pan_gaps: give both"},
        {[](auto& job) {
             job.pan_gaps = {noData, 0, 0, PANSHARP_COLLAR, 0};
         },
         "no pixel of pan has data"},
        {[](auto& job) { job.output_mask.valid = static_cast<std::uint8_t*>(job.output.samples); },
         "output_mask lies in the memory"},
        {[](auto& job) { job.used = &unsized; }, "job.used.struct_size is 0"},
    };
    for (const auto& c : cases) {
        const auto before = scene.out.Samples();
        const pansharp_job valid = scene.job;
        c.change(scene.job);
        EXPECT_EQ(scene.Fuse(library.get()), PANSHARP_BAD_ARGUMENT) << c.says;
        EXPECT_THAT(scene.error, HasSubstr(c.says));
        EXPECT_EQ(scene.out.Samples(), before) << c.says;
        scene.job = valid;
    }
    const pansharp_used untouched = Used(0);
    EXPECT_EQ(std::memcmp(&unsized, &untouched, sizeof unsized), 0);
}

TEST_F(FuseJob, RefusesNull) {
    EXPECT_EQ(scene.Fuse(nullptr), PANSHARP_BAD_ARGUMENT);
    EXPECT_THAT(scene.error, HasSubstr("library is null"));
    char error[200];
    EXPECT_EQ(pansharp_fuse(library.get(), nullptr, error, sizeof error), PANSHARP_BAD_ARGUMENT);
    EXPECT_THAT(error, HasSubstr("job is null"));
    EXPECT_EQ(pansharp_fuse(nullptr, nullptr, nullptr, 0), PANSHARP_BAD_ARGUMENT);
    pansharp_job_init(nullptr, sizeof(pansharp_job));
    pansharp_close(nullptr);
}

TEST_F(FuseJob, WeightsAreEqualWhereNoneCanBeFitted) {
    StridedImage black(Shape::Packed, 16, 8, 6, 1);
    scene.job.pan = black.Image();
    const double given[] = {0.5, 0.5, 0};
    scene.job.weights = given;
    scene.job.weight_count = 3;
    double found[3];
    pansharp_weight_fit fit{};
    EXPECT_EQ(pansharp_fit_weights(library.get(), &scene.job, found, &fit, nullptr, 0),
              PANSHARP_BAD_ARGUMENT);
    fit.struct_size = sizeof fit;
    ASSERT_EQ(pansharp_fit_weights(library.get(), &scene.job, found, &fit, nullptr, 0), PANSHARP_OK);
    EXPECT_STRNE(fit.obstacle, "");
    EXPECT_THAT(found, testing::Each(1.0 / 3));
}

// Callers built against a header with fewer or more members.
TEST_F(FuseJob, TakesAStructureOfAnotherAge) {
    scene.job.struct_size = offsetof(pansharp_job, resampling);
    scene.job.resampling = 77; // what lies behind it
    EXPECT_EQ(scene.Fuse(library.get()), PANSHARP_OK) << scene.error;
    scene.job.resampling = 0;
    struct {
        pansharp_job job;
        void* more[2];
    } longer{scene.job, {}};
    longer.job.struct_size = sizeof longer;
    EXPECT_EQ(pansharp_fuse(library.get(), &longer.job, nullptr, 0), PANSHARP_OK);
    longer.more[1] = &scene;
    char error[200];
    EXPECT_EQ(pansharp_fuse(library.get(), &longer.job, error, sizeof error), PANSHARP_BAD_ARGUMENT);
    EXPECT_THAT(error, HasSubstr("install a newer one"));
    pansharp_used shorter = Used(offsetof(pansharp_used, collars));
    shorter.weights = nullptr;
    shorter.gains = nullptr;
    scene.job.struct_size = sizeof scene.job;
    scene.job.used = &shorter;
    EXPECT_EQ(scene.Fuse(library.get()), PANSHARP_OK) << scene.error;
    EXPECT_STREQ(shorter.method, "KOVA");
    EXPECT_EQ(shorter.gaps, 0xAAAAAAAAAAAAAAAAu);
    struct LaterAssessment : pansharp_assessment {
        void* more;
    } assessment{};
    assessment.struct_size = sizeof assessment;
    assessment.bits_per_sample = 16;
    assessment.image = assessment.reference = scene.job.pan;
    EXPECT_EQ(pansharp_assess(&assessment, error, sizeof error), PANSHARP_OK) << error;
    EXPECT_EQ(assessment.q, 1.0);
}

} // namespace
