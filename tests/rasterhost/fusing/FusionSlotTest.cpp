#include "rasterhost/fusing/FusionSlot.h"

#include "SceneFiles.h"

namespace {

using namespace testfiles;

// Pixels are those of the whole scene, whichever window they are fused in and whichever came before: across
// gaps in pan, across the edges of the bands and beyond them.
TEST(FusionSlot, ReadsAnyWindow) {
    constexpr std::uint32_t columns = 157, rows = 211, bands = 3, across = 50, down = 38;
    const Folder folder;
    unsigned state = 1;
    const auto random = [&](int, int, int) { return (state = state * 1664525u + 1013904223u) >> 20; };
    auto request = MakeRequest();
    request.pan.file =
        folder.Write("pan.tif", {columns, rows, 1, GDT_UInt16, Grid(15.0), "EPSG:32630", 0.0},
                     [&](int c, int r, int b) { return (c + 3 * r) % 97 < 20 ? 0 : 1 + random(c, r, b); });
    request.multispectral = {
        {folder.Write("ms.tif", {60, 100, bands, GDT_UInt16, Grid(30.0, 500082.5, 3999932.5), "EPSG:32630"},
                      random),
         {}}};
    request.output = folder / "fused.tif";
    request.overwrite = request.alpha = true;
    request.weightSource = rasterhost::WeightSource::Equal;
    for (const auto& [method, resampling] :
         {std::pair("kova", hostkit::Resampling::Bilinear), {"injection", hostkit::Resampling::Cubic}}) {
        request.method = method;
        request.resampling = resampling;
        const Outcome run = RunWell(request);
        const auto whole = ReadAll(request.output);
        rasterhost::ProcessSettings settings;
        rasterhost::Status status;
        ASSERT_TRUE(MakeSettings(request, *run.pair.scene, run.pair.plugin->GetDescription(),
                                 run.report.detail ? &*run.report.detail : nullptr, settings, status));
        rasterhost::FusionSlot slot(SourcesOf(*run.pair.scene), *run.pair.plugin, settings, status);
        ASSERT_TRUE(slot.Init(status)) << status.ToText();
        for (std::uint32_t row = 5 * down; row + down > 0; row -= down)
            for (std::uint32_t column = 0; column < columns; column += across) {
                const hostkit::PixelRect window{column, row, std::min(column + across, columns),
                                                std::min(row + down, rows)};
                ASSERT_TRUE(slot.Read(window, status)) << status.ToText();
                std::vector<unsigned> made, expected;
                const auto add = [&](const rasterhost::FusedRow& fused) {
                    const auto* samples = reinterpret_cast<const unsigned short*>(fused.samples);
                    const unsigned* there = whole.data() + (fused.number * columns + column) * (bands + 1);
                    for (std::size_t i = 0; i < window.GetColumns(); ++i) {
                        const bool isValid = !fused.valid || fused.valid[i] != 0;
                        for (std::size_t band = 0; band < bands; ++band)
                            made.push_back(isValid ? samples[i * bands + band] : 0u);
                        made.push_back(isValid ? 65535u : 0u);
                    }
                    expected.insert(expected.end(), there, there + window.GetColumns() * (bands + 1));
                };
                ASSERT_TRUE(slot.Fuse(add, status)) << status.ToText();
                EXPECT_EQ(made, expected) << method << ": " << column << ", " << row;
            }
    }
}

} // namespace
