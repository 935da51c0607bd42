#include "Scene.h"

#include <gmock/gmock.h>

#include <cstring>

namespace {

using namespace testcapi;

/// The images of a scene, read on demand, and the rows that come back.
struct Rows {
    explicit Rows(const Scene& fused) : scene(fused), job(fused.job) {
        for (pansharp_image* image : {&job.pan, &job.multispectral, &job.infrared}) {
            image->samples = nullptr;
            image->row_stride = image->pixel_stride = image->band_stride = 0;
        }
        job.output = {};
        rows.struct_size = sizeof rows;
        rows.data = this;
        rows.read = [](uint32_t image, const pansharp_window* part, void* samples, void* data) {
            auto& self = *static_cast<Rows*>(data);
            if (static_cast<int>(image) == self.refuses) return 7;
            const StridedImage& from = image == PANSHARP_PAN             ? self.scene.pan
                                       : image == PANSHARP_MULTISPECTRAL ? self.scene.ms
                                                                         : *self.scene.infrared;
            auto* out = static_cast<unsigned char*>(samples);
            for (uint32_t r = 0; r < part->rows; ++r)
                for (uint32_t c = 0; c < part->columns; ++c)
                    for (uint32_t b = 0; b < from.bands; ++b, out += from.sampleBytes) {
                        const unsigned sample = from.Get(part->column + c, part->row + r, b);
                        std::memcpy(out, &sample, from.sampleBytes); // low bytes first
                    }
            return 0;
        };
        rows.write = [](uint32_t row, const void* samples, void* data) {
            auto& self = *static_cast<Rows*>(data);
            const auto* in = static_cast<const unsigned char*>(samples);
            const uint32_t columns =
                self.rows.window.columns ? self.rows.window.columns : self.scene.pan.columns;
            for (uint32_t i = 0; i < columns * self.scene.out.bands; ++i, in += self.scene.ms.sampleBytes) {
                unsigned sample = 0;
                std::memcpy(&sample, in, self.scene.ms.sampleBytes);
                self.given.push_back(sample);
            }
            self.last = row;
            return self.refuses == 9 ? 1 : 0;
        };
    }

    const Scene& scene;
    pansharp_job job;
    struct LaterRows : pansharp_rows {
        void* more;
    } rows{};
    std::vector<unsigned> given;
    uint32_t last = 0;
    int refuses = -1;
    char error[500] = "";
};

TEST(FuseRows, WindowsHaveTheSamplesOfTheWhole) {
    pansharp* library = pansharp_open(PANSHARP_PLUGIN_FILE, nullptr, 0);
    ASSERT_NE(library, nullptr);
    const pansharp_gains gains[] = {{0.4, 0.2}, {0.1, 0.7}, {0.9, 0}};
    for (const std::uint32_t bits : {8u, 16u})
        for (const char* method : {"KOVA", "ihs", "Injection", "Injection without a mean"}) {
            Scene scene(bits, {40, 36}, {10, 9}, 3, {}, {}, {3, 1});
            scene.job.method = *method == 'I' ? "Injection" : method;
            if (*method == 'I') {
                scene.job.transfer = 0.3;
                scene.job.low_pass_mean = std::strlen(method) > 9 ? PANSHARP_NO_MEAN : 90;
                scene.job.gains = gains;
                scene.job.gain_count = 3;
            } else
                scene.AddInfrared({}, {20, 18});
            ASSERT_EQ(scene.Fuse(library), PANSHARP_OK) << scene.error;
            for (const pansharp_window& window :
                 {pansharp_window{}, {0, 0, 40, 36}, {5, 7, 1, 1}, {13, 3, 27, 33}}) {
                Rows rows(scene);
                rows.rows.window = window;
                ASSERT_EQ(pansharp_fuse_rows(library, &rows.job, &rows.rows, rows.error, sizeof rows.error),
                          PANSHARP_OK)
                    << rows.error;
                const pansharp_window w = window.columns ? window : pansharp_window{0, 0, 40, 36};
                std::vector<unsigned> expected;
                for (uint32_t r = 0; r < w.rows; ++r)
                    for (uint32_t c = 0; c < w.columns; ++c)
                        for (uint32_t b = 0; b < scene.out.bands; ++b)
                            expected.push_back(scene.out.Get(w.column + c, w.row + r, b));
                EXPECT_EQ(rows.given, expected) << method << bits << " " << w.column;
                EXPECT_EQ(rows.last, w.row + w.rows - 1);
            }
        }
    pansharp_close(library);
}

TEST(FuseRows, SaysWhatIsWrong) {
    pansharp* library = pansharp_open(PANSHARP_PLUGIN_FILE, nullptr, 0);
    Scene scene(8, {40, 36}, {10, 9}, 3, {}, {});
    const struct {
        void (*spoil)(Rows&);
        pansharp_result result;
        const char* says;
    } cases[] = {
        {[](Rows& r) { r.rows.struct_size = 1; }, PANSHARP_BAD_ARGUMENT, "struct_size"},
        {[](Rows& r) { r.rows.read = nullptr; }, PANSHARP_BAD_ARGUMENT, "rows.read or rows.write is null"},
        {[](Rows& r) {
             r.rows.window = {40, 0, 1, 1};
         },
         PANSHARP_BAD_ARGUMENT, "40 columns and 36 rows"},
        {[](Rows& r) {
             r.rows.window = {1, 1, 0xFFFFFFFFu, 1};
         },
         PANSHARP_BAD_ARGUMENT, "rows.window"},
        {[](Rows& r) { r.rows.more = &r; }, PANSHARP_BAD_ARGUMENT, "rows uses members"},
        {[](Rows& r) { r.job.pan.columns = 0; }, PANSHARP_BAD_ARGUMENT, "pan has 0 columns"},
        {[](Rows& r) { r.job.infrared.bands = 1; }, PANSHARP_BAD_ARGUMENT, "infrared has 0 columns"},
        {[](Rows& r) { r.job.pan.samples = &r; }, PANSHARP_BAD_ARGUMENT, "rows.read gives"},
        {[](Rows& r) { r.job.output.samples = &r; }, PANSHARP_BAD_ARGUMENT, "takes the fused rows"},
        {[](Rows& r) { r.job.method = "Injection"; }, PANSHARP_BAD_ARGUMENT, "pansharp_fit found"},
        {[](Rows& r) { r.refuses = PANSHARP_MULTISPECTRAL; }, PANSHARP_CANCELLED, "rows.read returned 7"},
        {[](Rows& r) { r.refuses = 9; }, PANSHARP_CANCELLED, "rows.write returned 1 for row 0"},
        {[](Rows& r) { r.job.progress = [](uint32_t, uint32_t, void*) { return 1; }; }, PANSHARP_CANCELLED,
         "36 of 36"},
    };
    for (const auto& c : cases) {
        Rows rows(scene);
        c.spoil(rows);
        EXPECT_EQ(pansharp_fuse_rows(library, &rows.job, &rows.rows, rows.error, sizeof rows.error), c.result)
            << c.says;
        EXPECT_THAT(rows.error, testing::HasSubstr(c.says));
    }
    pansharp_close(library);
}

} // namespace
