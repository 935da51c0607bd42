#include "Child.h"
#include "Scene.h"

#include "capi/pansharp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

using testing::HasSubstr;

namespace {

struct Slot {
    const char* name;
    const char* says;   ///< in what the command and the C interface say; null when it does not matter
    const char* reason; ///< the plug-in's own, in both
};

const Slot slots[] = {
    {"Describe", "version 0 of the host contract", ""},
    {"Initialize", "refuses to be initialized", ""},
    {"CreateObject", "makes no process object", ""},
    {"SetInputRaster", "nothing can be fused: the plug-in fails to take its inputs", "no raster here"},
    {"SetWorkspace", "nothing can be fused: the plug-in fails to take its inputs", "no workspace here"},
    {"SetAoi", "nothing can be fused: the plug-in fails to take its inputs", "no request here"},
    {"Init", "nothing can be fused: the plug-in fails to initialize", "no start here"},
    {"SetWindow", "cannot be fused: the plug-in fails to set the window", "no window here"},
    {"GetRow", "cannot be fused: the plug-in fails to deliver a row", "no row here"},
    {"GetStatus", "cannot be fused: the plug-in fails to deliver a row", ""},
    {"DestroyObject", nullptr, nullptr},
};

/// Fuses 40 x 40 pixels of three bands. Returns the result, or PANSHARP_FAILED when the plug-in cannot be
/// opened.
pansharp_result FuseInMemory(char* error, std::size_t size) {
    pansharp* library = pansharp_open(FAILING_PLUGIN_FILE, error, size);
    if (!library) return PANSHARP_FAILED;
    std::vector<unsigned char> pan(40 * 40), multispectral(20 * 20 * 3), output(40 * 40 * 3);
    pansharp_job job;
    pansharp_job_init(&job, sizeof job);
    job.bits_per_sample = 8;
    job.pan = {pan.data(), 40, 40, 1, 0, 0, 0, 0.0, 0.0, 0.0, 0.0};
    job.multispectral = {multispectral.data(), 20, 20, 3, 0, 0, 0, 0.0, 0.0, 0.0, 0.0};
    job.output.samples = output.data();
    const pansharp_result result = pansharp_fuse(library, &job, error, size);
    pansharp_close(library);
    return result;
}

} // namespace

TEST(SharpenCommandSlots, ThatFailAreToldOf) {
    const child::Folder folder;
    const scene::Pair pair(folder, 3, 8);
    const auto before = folder.List();
    for (const Slot& slot : slots) {
        SCOPED_TRACE(slot.name);
        setenv("FAILING_PLUGIN_SLOT", slot.name, 1);
        const child::Outcome outcome =
            child::Run(folder, "sharpen -q pan.tif ms.tif -o out.tif", FAILING_PLUGIN_FILE);
        char error[2000];
        const pansharp_result result = FuseInMemory(error, sizeof error);
        unsetenv("FAILING_PLUGIN_SLOT");
        EXPECT_EQ(outcome.code, slot.says ? 1 : 0);
        EXPECT_EQ(result, slot.says ? PANSHARP_FAILED : PANSHARP_OK);
        if (!slot.says) {
            std::filesystem::remove(folder / "out.tif");
        } else {
            EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("pansharp: error: "), HasSubstr(slot.says),
                                                    HasSubstr(slot.reason)));
            EXPECT_THAT(error, testing::AllOf(HasSubstr(slot.says), HasSubstr(slot.reason)));
        }
        EXPECT_EQ(folder.List(), before);
    }
}
