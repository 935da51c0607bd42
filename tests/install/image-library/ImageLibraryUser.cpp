// Fuses one pixel with the image library, without a host.

#include "pansharp/CreatePanSharpImage.h"

#include <cstdio>

namespace {

/// One pixel.
class Pixel : public PXL::Image<unsigned char> {
public:
    explicit Pixel(std::vector<unsigned char> values) : samples(std::move(values)) {
        info.cols = info.rows = 1;
        info.bands = static_cast<std::uint32_t>(samples.size());
        info.bitsPerSample = 8;
    }
    PXL::ImageInfo GetInfo() override { return info; }
    unsigned char* GetRow(std::uint32_t) override { return samples.data(); }
    unsigned char* GetNextRow() override { return samples.data(); }
    bool SetWindow(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) override { return true; }

private:
    PXL::ImageInfo info;
    std::vector<unsigned char> samples;
};

} // namespace

int main() {
    KOVA::Tessara::Fundament::Status status;
    const auto image = PXL::CreatePanSharpImage<unsigned char>("KOVA", status);
    Pixel multispectral({30, 60, 90}), pan({100});
    if (!image || !image->Init(&multispectral, &pan) || !image->SetWindow(0, 0, 1, 1)) return 1;
    const unsigned char* row = image->GetRow(0);
    if (!row) return 1;
    std::printf("%d %d %d\n", row[0], row[1], row[2]);
    return row[0] == 70 && row[1] == 100 && row[2] == 130 ? 0 : 1;
}
