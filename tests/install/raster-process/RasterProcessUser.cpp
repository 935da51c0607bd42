// A separate raster process, derived from the base class that the plug-in exports.

#include "plugin/RasterProcess.h"

#include <cstdio>
#include <stdexcept>

using namespace KOVA::Tessara;

namespace {

/// One row, with one pixel per property of the process.
class Counter : public Pixmere::RasterProcess {
public:
    int SetProperties(const Global::NameValueMap*) override { return 0; }

protected:
    int InitProcess() override {
        info.cols = properties.GetCount();
        return 1;
    }
    int SetProcessWindow(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) override {
        throw std::runtime_error("no windows here");
    }
    const unsigned char* GetProcessRow(std::uint32_t) override { return &sample; }

private:
    unsigned char sample = 7;
};

} // namespace

int main() {
    Counter counter;
    Pixmere::IRasterProcess& process = counter;
    process.SetProperty("one", "1");
    const bool works = process.Init() == 1 && process.GetRasterInfo()->cols == 1 && *process.GetRow(0) == 7 &&
                       process.SetWindow(0, 0, 1, 1) == 0 && process.GetStatus().GetCount() == 1 &&
                       process.GetMetadata().GetCount() == 0 && process.SetInputRaster(nullptr) == 0;
    std::printf("%s%s\n", process.ToString().c_str(), process.GetStatus().ToText().c_str());
    return works ? 0 : 1;
}
