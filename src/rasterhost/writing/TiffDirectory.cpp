#include "rasterhost/writing/TiffDirectory.h"

#include <cpl_vsi.h>
#include <tiff.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace rasterhost {

namespace {

using TiffFile = std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)>;

/// Bytes of a number of a type; 0 for an unknown type.
std::size_t SizeOf(std::uint16_t type) {
    switch (type) {
    case TIFF_BYTE:
    case TIFF_ASCII:
    case TIFF_SBYTE:
    case TIFF_UNDEFINED:
        return 1;
    case TIFF_SHORT:
    case TIFF_SSHORT:
        return 2;
    case TIFF_LONG:
    case TIFF_SLONG:
    case TIFF_FLOAT:
        return 4;
    case TIFF_RATIONAL:
    case TIFF_SRATIONAL:
    case TIFF_DOUBLE:
    case TIFF_LONG8:
    case TIFF_SLONG8:
        return 8;
    default:
        return 0;
    }
}

void Put(std::uint64_t number, std::size_t size, std::vector<unsigned char>& out) {
    for (std::size_t byte = 0; byte < size; ++byte)
        out.push_back(static_cast<unsigned char>(number >> (8 * byte)));
}

std::uint64_t Take(const unsigned char* bytes, std::size_t size) {
    std::uint64_t number = 0;
    std::memcpy(&number, bytes, size);
    return number;
}

bool ReadAt(VSILFILE* file, std::uint64_t offset, std::size_t count, std::vector<unsigned char>& bytes) {
    bytes.resize(count);
    return VSIFSeekL(file, offset, SEEK_SET) == 0 && VSIFReadL(bytes.data(), 1, count, file) == count;
}

// For classic and big TIFF: widths of an entry, of the numbers before and after all entries, and of a value.
struct Widths {
    std::size_t entry, count, value;
};
constexpr Widths widthsOf[] = {{12, 2, 4}, {20, 8, 8}};

std::size_t Even(std::size_t bytes) { return bytes + bytes % 2; }

} // namespace

std::optional<TiffDirectory> TiffDirectory::ReadFirst(const std::string& name) {
    constexpr std::size_t headerBytes = 16, entryBytes = 20;
    constexpr std::uint64_t mostEntries = 4096, mostBytes = std::uint64_t{1} << 30;
    const TiffFile file(VSIFOpenL(name.c_str(), "rb"), &VSIFCloseL);
    std::vector<unsigned char> bytes;
    if (!file || !ReadAt(file.get(), 0, headerBytes, bytes) ||
        std::memcmp(bytes.data(), "II+\0\x08\0\0\0", 8) != 0)
        return std::nullopt;
    const std::uint64_t offset = Take(bytes.data() + 8, 8);
    if (!ReadAt(file.get(), offset, 8, bytes)) return std::nullopt;
    const std::uint64_t count = Take(bytes.data(), 8);
    if (count > mostEntries || !ReadAt(file.get(), offset + 8, count * entryBytes, bytes))
        return std::nullopt;
    TiffDirectory directory;
    for (std::uint64_t i = 0; i < count; ++i) {
        const unsigned char* at = bytes.data() + i * entryBytes;
        Entry entry{static_cast<std::uint16_t>(Take(at, 2)),
                    static_cast<std::uint16_t>(Take(at + 2, 2)),
                    Take(at + 4, 8),
                    {}};
        const std::size_t size = SizeOf(entry.type);
        if (size == 0 || entry.count > mostBytes / size) return std::nullopt;
        if (size * entry.count <= 8)
            entry.bytes.assign(at + 12, at + 12 + size * entry.count);
        else if (!ReadAt(file.get(), Take(at + 12, 8), size * entry.count, entry.bytes))
            return std::nullopt;
        directory.entries.push_back(std::move(entry));
    }
    return directory;
}

std::uint64_t TiffDirectory::GetNumber(std::uint16_t tag, std::uint64_t otherwise) const {
    for (const Entry& entry : entries)
        if (entry.tag == tag && entry.count > 0 && entry.type != TIFF_DOUBLE && entry.type != TIFF_FLOAT)
            return Take(entry.bytes.data(), SizeOf(entry.type));
    return otherwise;
}

void TiffDirectory::Set(std::uint16_t tag, std::uint16_t type, const std::vector<std::uint64_t>& numbers) {
    Entry entry{tag, type, numbers.size(), {}};
    for (const std::uint64_t number : numbers)
        Put(number, SizeOf(type), entry.bytes);
    const auto at =
        std::find_if(entries.begin(), entries.end(), [tag](const Entry& each) { return each.tag >= tag; });
    if (at != entries.end() && at->tag == tag)
        *at = std::move(entry);
    else
        entries.insert(at, std::move(entry));
}

void TiffDirectory::Keep(const std::vector<std::uint16_t>& tags) {
    std::erase_if(entries, [&](const Entry& entry) {
        return std::find(tags.begin(), tags.end(), entry.tag) == tags.end();
    });
}

TiffDirectory::Entry TiffDirectory::Entry::In(bool isBig) const {
    if (isBig || type != TIFF_LONG8) return *this;
    Entry narrow{tag, TIFF_LONG, count, {}};
    for (std::size_t i = 0; i < count; ++i)
        Put(Take(bytes.data() + i * 8, 8), 4, narrow.bytes);
    return narrow;
}

std::size_t TiffDirectory::CountBytes(bool isBig) const {
    const Widths& widths = widthsOf[isBig];
    std::size_t bytes = widths.count + entries.size() * widths.entry + widths.value;
    for (const Entry& entry : entries)
        if (const std::size_t own = entry.In(isBig).bytes.size(); own > widths.value) bytes += Even(own);
    return bytes;
}

void TiffDirectory::Write(bool isBig, std::uint64_t offset, std::uint64_t next,
                          std::vector<unsigned char>& out) const {
    const Widths& widths = widthsOf[isBig];
    std::uint64_t valueAt = offset + widths.count + entries.size() * widths.entry + widths.value;
    std::vector<unsigned char> values;
    Put(entries.size(), widths.count, out);
    for (const Entry& each : entries) {
        const Entry entry = each.In(isBig);
        Put(entry.tag, 2, out);
        Put(entry.type, 2, out);
        Put(entry.count, widths.value, out);
        const bool isHere = entry.bytes.size() <= widths.value;
        std::vector<unsigned char>& to = isHere ? out : values;
        if (!isHere) Put(valueAt, widths.value, out);
        to.insert(to.end(), entry.bytes.begin(), entry.bytes.end());
        const std::size_t padding =
            isHere ? widths.value - entry.bytes.size() : Even(entry.bytes.size()) - entry.bytes.size();
        to.insert(to.end(), padding, 0);
        if (!isHere) valueAt += Even(entry.bytes.size());
    }
    Put(next, widths.value, out);
    out.insert(out.end(), values.begin(), values.end());
}

} // namespace rasterhost
