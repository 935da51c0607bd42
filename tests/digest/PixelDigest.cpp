// Fuses, blends and converts a million pixels of noise with every method, operator and converter, in 8 and 16
// bits, and prints a digest of each: pixel_digest. With a file of such lines it compares instead:
// pixel_digest FILE.
#include "colourspace/CreateColorSpaceConvertor.h"
#include "fundament/Numbers.h"
#include "host/PropertyNames.h"
#include "operators/CreateBlendPixels.h"
#include "pansharp/Methods.h"
#include "support/FakeImage.h"

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

namespace {

using namespace PXL;

constexpr std::uint32_t columns = 1000, rowCount = 1000;

/// FNV-1a over the bytes of each sample, the low byte first.
class Digest {
public:
    template <class T>
    void Add(const T* samples, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            for (unsigned shift = 0; shift < 8 * sizeof(T); shift += 8)
                value = (value ^ (samples[i] >> shift & 0xFFu)) * 0x100000001B3u;
    }
    std::uint64_t value = 0xCBF29CE484222325u;
};

/// Noise from the library's generator, which is the same everywhere; its distributions are not.
template <class T>
class NoiseRows {
public:
    NoiseRows(std::uint32_t bands, unsigned seed) : random(seed), row(std::size_t{columns} * bands) {}
    const T* Next() {
        for (T& sample : row)
            sample = static_cast<T>(random() >> 7);
        return row.data();
    }

private:
    std::mt19937 random;
    std::vector<T> row;
};

void Print(std::string& lines, const char* kind, const std::string& name, std::size_t bytes,
           const Digest& digest) {
    char line[128];
    std::snprintf(line, sizeof line, "%s %s %u %08X%08X\n", kind, name.c_str(),
                  static_cast<unsigned>(8 * bytes), static_cast<unsigned>(digest.value >> 32),
                  static_cast<unsigned>(digest.value));
    lines += line;
}

template <class T>
void FuseByAll(std::string& lines) {
    for (const Method& method : Methods()) {
        constexpr std::uint32_t bands = 4;
        support::FakeImage<T> ms(columns, rowCount, bands), pan(columns, rowCount, 1);
        pan.sample = [other = support::FakeImage<T>(1, 1, 1).sample](auto c, auto r, auto) {
            return other(c, r, 99);
        };
        const auto image = method.Create<T>();
        image->properties["outputNBands"] = "3";
        for (std::uint32_t p = 0; p < method.description.bandParameterCount;
             ++p) // uneven values, near the usual ones
            for (std::size_t b = 0; b < bands; ++b) {
                const PansharpProperty& property = method.description.bandParameters[p].band;
                if (property.name)
                    image->properties[KOVA::Tessara::PropertyNames::OfBand(property, b)] =
                        Fundament::NumberText(0.17 + 0.11 * static_cast<double>(b + p));
            }
        Digest digest;
        if (image->Init(&ms, &pan) && image->SetWindow(0, 0, columns, rowCount))
            for (std::uint32_t row = 0; row < rowCount; ++row)
                if (const T* samples = image->GetRow(row))
                    digest.Add(samples, std::size_t{columns} * image->GetInfo().bands);
        Print(lines, "method", method.description.keyword, sizeof(T), digest);
    }
}

ImageInfo Description(std::uint32_t bands, std::size_t bytes, const std::string& colorSpace) {
    ImageInfo info;
    info.cols = columns;
    info.rows = rowCount;
    info.bands = bands;
    info.bitsPerSample = static_cast<std::uint32_t>(8 * bytes);
    info.properties["ColorSpace"] = colorSpace;
    return info;
}

template <class T>
void BlendByAll(std::string& lines) {
    for (const std::string& keyword : BlendKeywords()) {
        Fundament::Status reasons;
        const auto blend = CreateBlendPixels<T>(keyword, reasons);
        blend->properties["PrimaryGain-1"] = "0.83"; // also the default for the other bands
        blend->properties["AuxiliaryOffset-1"] = "3.25";
        std::uint32_t bands2 = 3; // of the second input; some operators take only one band
        if (!blend->Init(Description(3, sizeof(T), "RGB"), Description(bands2, sizeof(T), "RGB"), false))
            bands2 = 1;
        NoiseRows<T> rows1(3, 1), rows2(bands2, 2);
        Digest digest;
        if (blend->Init(Description(3, sizeof(T), "RGB"),
                        Description(bands2, sizeof(T), bands2 == 1 ? "Gray" : "RGB"), false) &&
            blend->SetWindow(0, columns))
            for (std::uint32_t row = 0; row < rowCount; ++row) {
                const T* first = rows1.Next();
                if (const T* out = blend->ProcessRow(first, rows2.Next(), row))
                    digest.Add(out, std::size_t{columns} * blend->GetOutputInfo().bands);
            }
        Print(lines, "operator", keyword, sizeof(T), digest);
    }
}

template <class T>
void ConvertByAll(std::string& lines) {
    for (const std::string keyword : {"hsi2rgb", "rgb2hsi", "yuv2rgb", "rgb2yuv"}) {
        Fundament::Status reasons;
        const auto convertor = CreateColorSpaceConvertor<T>(keyword, reasons);
        NoiseRows<T> rows(3, 3);
        Digest digest;
        if (convertor->Init(Description(3, sizeof(T), keyword.substr(0, 3))) &&
            convertor->SetWindow(0, columns))
            for (std::uint32_t row = 0; row < rowCount; ++row)
                if (const T* out = convertor->ProcessRow(rows.Next(), row))
                    digest.Add(out, std::size_t{3} * columns);
        Print(lines, "converter", keyword, sizeof(T), digest);
    }
}

} // namespace

int main(int argc, char** argv) {
    std::string lines;
    FuseByAll<unsigned char>(lines), FuseByAll<unsigned short>(lines);
    BlendByAll<unsigned char>(lines), BlendByAll<unsigned short>(lines);
    ConvertByAll<unsigned char>(lines), ConvertByAll<unsigned short>(lines);
    if (lines.find("CBF29CE484222325") != std::string::npos)
        return std::printf("%sone made no pixels\n", lines.c_str()), 1;
    if (argc < 2) return std::printf("%s", lines.c_str()) < 0;
    std::ostringstream kept;
    kept << std::ifstream(argv[1]).rdbuf();
    if (kept.str() == lines) return 0;
    std::printf("%sare not the lines of %s\n", lines.c_str(), argv[1]);
    return 1;
}
