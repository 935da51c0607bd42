#include "rasterhost/serving/CollarText.h"

#include <cpl_conv.h>
#include <cpl_string.h>

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

namespace rasterhost {

using imagery::ZeroCollar;

namespace {

constexpr std::size_t mostDeflated = std::size_t{256} << 10;
constexpr std::size_t mostPacked = std::size_t{4} << 20;
constexpr std::size_t mostLetters = (mostDeflated + 2) / 3 * 4;
constexpr std::uint64_t mostPixels = 0x7FFFFFFF; // across and down: GDAL's limit

struct FreeByVsi {
    void operator()(void* memory) const { VSIFree(memory); }
};

} // namespace

Json CollarToJson(const ZeroCollar& collar, std::size_t& left) {
    const std::vector<unsigned char> packed = collar.ToBytes();
    if (packed.size() > std::min(mostPacked, left)) return {};
    std::size_t count = 0;
    const std::unique_ptr<void, FreeByVsi> deflated(
        CPLZLibDeflate(packed.data(), packed.size(), 9, nullptr, 0, &count));
    if (!deflated || count > mostDeflated) return {};
    left -= packed.size();
    const std::unique_ptr<char, FreeByVsi> letters(
        CPLBase64Encode(static_cast<int>(count), static_cast<const GByte*>(deflated.get())));
    return {{"columns", collar.GetColumns()},
            {"rows", collar.GetRows()},
            {"bytes", packed.size()},
            {"runs", letters.get()}};
}

std::shared_ptr<const ZeroCollar> CollarFromJson(const RecordPart& part, std::size_t& left) {
    part.CheckKeys({"columns", "rows", "bytes", "runs"});
    const auto columns = static_cast<std::uint32_t>(part.Get("columns").GetWhole(1, mostPixels));
    const auto rows = static_cast<std::uint32_t>(part.Get("rows").GetWhole(1, mostPixels));
    const std::size_t bytes = part.Get("bytes").GetWhole(1, mostPacked);
    if (bytes > left) part.Refuse("takes the collars beyond 16 MB in all");
    left -= bytes;
    std::vector<unsigned char> packed(bytes);
    std::string letters = part.Get("runs").GetText(mostLetters);
    const int count = CPLBase64DecodeInPlace(reinterpret_cast<GByte*>(letters.data()));
    std::size_t size = 0;
    const bool isInflated = count > 0 && CPLZLibInflate(letters.data(), static_cast<std::size_t>(count),
                                                        packed.data(), packed.size(), &size) != nullptr;
    auto collar =
        isInflated && size == packed.size() ? ZeroCollar::FromBytes(packed, columns, rows) : std::nullopt;
    if (!collar) part.Refuse("holds no collar of an image of that size");
    return std::make_shared<const ZeroCollar>(*std::move(collar));
}

} // namespace rasterhost
