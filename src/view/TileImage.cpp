#include "view/TileImage.h"

#include "rasterhost/requests/GdalErrors.h"

#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <stdexcept>

namespace view {

namespace {

constexpr std::size_t side = ViewedScene::tileSize;

/// One band of the picture, packed.
template <class T>
void DrawBand(const Pixels& pixels, std::uint32_t band, const Stretch& stretch, unsigned char* plane) {
    const auto low = static_cast<float>(stretch.first);
    const auto scale = static_cast<float>(255.0 / (stretch.second - stretch.first));
    const T* in = reinterpret_cast<const T*>(pixels.samples.data()) + band;
    for (std::uint32_t row = 0; row < pixels.rows; ++row)
        for (std::uint32_t column = 0; column < pixels.columns; ++column, in += pixels.bands) {
            const float level = (static_cast<float>(*in) - low) * scale + 0.5F;
            plane[row * side + column] = static_cast<unsigned char>(std::clamp(level, 0.0F, 255.0F));
        }
}

/// Writes 255 where there is data; samples elsewhere become 0.
void DrawMask(const Pixels& pixels, std::size_t colours, unsigned char* planes, unsigned char* mask) {
    for (std::uint32_t row = 0; row < pixels.rows; ++row)
        for (std::uint32_t column = 0; column < pixels.columns; ++column) {
            const std::size_t at = row * side + column;
            const bool isValid =
                pixels.valid.empty() || pixels.valid[std::size_t{row} * pixels.columns + column] != 0;
            mask[at] = isValid ? 255 : 0;
            for (std::size_t colour = 0; !isValid && colour < colours; ++colour)
                planes[colour * side * side + at] = 0;
        }
}

std::string Encode(unsigned char* planes, std::size_t bands, TileFormat format) {
    const rasterhost::GdalErrors errors;
    GDALDriverManager& drivers = *GetGDALDriverManager();
    GDALDriver* memory = drivers.GetDriverByName("MEM");
    GDALDriver* driver = drivers.GetDriverByName(format == TileFormat::Png ? "PNG" : "JPEG");
    const int size = static_cast<int>(side);
    GDALDatasetUniquePtr picture(
        memory && driver ? memory->Create("", size, size, static_cast<int>(bands), GDT_Byte, nullptr)
                         : nullptr);
    if (!picture || picture->RasterIO(GF_Write, 0, 0, size, size, planes, size, size, GDT_Byte,
                                      static_cast<int>(bands), nullptr, 0, 0, 0, nullptr) != CE_None)
        throw std::runtime_error("no picture can be made" + errors.Reason());
    static std::atomic<unsigned> count = 0;
    const std::string name = "/vsimem/pansharp-tile-" + std::to_string(count++);
    const CPLStringList options =
        CPLStringList().AddString(format == TileFormat::Png ? "ZLEVEL=1" : "QUALITY=85");
    // Without side files.
    GDALDatasetUniquePtr written(
        driver->CreateCopy(name.c_str(), picture.get(), FALSE, options.List(), nullptr, nullptr));
    const bool isWritten = written != nullptr;
    written.reset();
    vsi_l_offset length = 0;
    GByte* bytes = isWritten ? VSIGetMemFileBuffer(name.c_str(), &length, FALSE) : nullptr;
    std::string encoded(reinterpret_cast<const char*>(bytes), bytes ? static_cast<std::size_t>(length) : 0);
    VSIUnlink(name.c_str());
    if (encoded.empty()) throw std::runtime_error("no picture can be made" + errors.Reason());
    return encoded;
}

} // namespace

std::string EncodeTile(const Pixels& pixels, std::span<const Stretch> stretches, TileFormat format) {
    const std::size_t colours = std::min<std::size_t>(pixels.bands, stretches.size()) < 3 ? 1 : 3;
    const bool hasAlpha = format == TileFormat::Png;
    std::vector<unsigned char> planes((colours + (hasAlpha ? 1 : 0)) * side * side, 0);
    for (std::uint32_t colour = 0; colour < colours; ++colour) {
        unsigned char* plane = planes.data() + colour * side * side;
        if (pixels.bits == 8)
            DrawBand<unsigned char>(pixels, colour, stretches[colour], plane);
        else
            DrawBand<unsigned short>(pixels, colour, stretches[colour], plane);
    }
    std::vector<unsigned char> mask;
    if (!hasAlpha) mask.resize(side * side);
    DrawMask(pixels, colours, planes.data(), hasAlpha ? planes.data() + colours * side * side : mask.data());
    return Encode(planes.data(), colours + (hasAlpha ? 1 : 0), format);
}

} // namespace view
