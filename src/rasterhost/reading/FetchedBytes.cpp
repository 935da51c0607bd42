#include "rasterhost/reading/FetchedBytes.h"

#include "rasterhost/requests/GdalErrors.h"

#include <cpl_conv.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <future>
#include <utility>

namespace rasterhost {

namespace {

constexpr std::uint64_t leastGrain = 1024, mostGrain = 10 << 20; // GDAL's own limits, in bytes

std::uint64_t ConfiguredBytes(const char* key, std::uint64_t otherwise) {
    const char* text = CPLGetConfigOption(key, nullptr);
    const std::uint64_t bytes = text ? std::strtoull(text, nullptr, 10) : 0;
    return bytes > 0 ? bytes : otherwise;
}

} // namespace

FetchedBytes::FetchedBytes()
    : bound(2 *
            std::min(ConfiguredBytes("CPL_VSIL_CURL_CACHE_SIZE", std::uint64_t{128} << 20), UINT64_MAX / 2)),
      grain(std::clamp(ConfiguredBytes("CPL_VSIL_CURL_CHUNK_SIZE", 16384), leastGrain, mostGrain)),
      pieceBytes(
          std::max(std::min(bound / 4 / mostRequests, std::uint64_t{4} << 20) / grain, std::uint64_t{1}) *
          grain) {}

FetchedBytes& FetchedBytes::Get() {
    static FetchedBytes& all = *new FetchedBytes;
    return all;
}

FetchedBytes::Piece::~Piece() {
    if (part) Get().Release(*this);
}

std::uint64_t FetchedBytes::Piece::CountBytes() const { return part->end - first; }

std::vector<FetchedBytes::Piece> FetchedBytes::Claim(const std::string& name, ByteRange range,
                                                     bool isReadAgain, std::uint64_t mostMissing) {
    std::vector<Piece> pieces; // released after the lock
    const std::lock_guard lock(mutex);
    const auto found = files.find(name);
    if (found == files.end()) return pieces;
    File& file = *found->second;
    range = {range.first / grain * grain, std::min((range.second + grain - 1) / grain * grain, file.size)};
    while (range.first < range.second) {
        auto next = file.parts.upper_bound(range.first);
        const bool isThere = next != file.parts.begin() && std::prev(next)->second->end > range.first;
        if (!isThere && (mostMissing == 0 || held >= bound)) break;
        Piece& piece = pieces.emplace_back(); // filled in once nothing can fail any more
        if (isThere)
            --next;
        else {
            auto part = std::make_shared<Part>();
            part->end = std::min({next == file.parts.end() ? range.second : next->first, range.second,
                                  range.first + pieceBytes});
            next = file.parts.emplace_hint(next, range.first, std::move(part));
            kept += next->second->end - range.first;
            mostMissing -= std::min(mostMissing, next->second->end - range.first);
        }
        piece.file = found->second;
        piece.part = next->second;
        piece.first = next->first;
        piece.isMissing = !isThere;
        piece.isReadAgain = isReadAgain;
        Hold(*piece.part, file, piece.first);
        range.first = piece.part->end;
    }
    MakeRoom();
    return pieces;
}

void FetchedBytes::Hold(Part& part, File& file, std::uint64_t first) {
    if (part.holds++ > 0) return;
    held += part.end - first;
    free.erase({part.stamp, &file, first});
}

/// False when its file was closed, or when it could not be fetched.
bool FetchedBytes::IsListed(const Piece& piece) {
    const auto part = piece.file->parts.find(piece.first);
    return part != piece.file->parts.end() && part->second == piece.part;
}

/// The piece must be listed and held.
void FetchedBytes::Forget(const Piece& piece) {
    kept -= piece.CountBytes();
    held -= piece.CountBytes();
    piece.file->parts.erase(piece.first);
}

void FetchedBytes::Release(const Piece& piece) noexcept {
    const std::lock_guard lock(mutex);
    if (!IsListed(piece)) return;
    if (piece.isMissing) {
        Forget(piece);
        hasCome.notify_all();
        return;
    }
    Part& part = *piece.part;
    if (part.holds > 1) {
        --part.holds;
        return;
    }
    part.stamp = piece.isReadAgain ? ++clock : 0;
    try {
        free.emplace(part.stamp, piece.file.get(), piece.first);
    } catch (const std::exception&) {
        Forget(piece); // no memory
        return;
    }
    part.holds = 0;
    held -= piece.CountBytes();
    MakeRoom();
}

void FetchedBytes::MakeRoom() {
    while (kept > bound && !free.empty()) {
        const auto [stamp, file, first] = *free.begin();
        free.erase(free.begin());
        const auto part = file->parts.find(first);
        kept -= part->second->end - first;
        file->parts.erase(part);
    }
}

std::size_t FetchedBytes::Read(const std::string& name, std::uint64_t offset, char* out, std::size_t& size) {
    std::unique_lock lock(mutex);
    while (true) {
        const auto found = files.find(name);
        if (found == files.end()) return 0;
        const auto& parts = found->second->parts;
        auto next = parts.upper_bound(offset);
        if (next == parts.begin() || std::prev(next)->second->end <= offset) {
            if (next != parts.end()) size = std::min<std::uint64_t>(size, next->first - offset);
            return 0;
        }
        --next;
        const std::shared_ptr<Part> part = next->second;
        if (!part->bytes) {
            hasCome.wait(lock);
            continue;
        }
        const std::size_t count = std::min<std::uint64_t>(size, part->end - offset);
        const std::uint64_t from = offset - next->first;
        lock.unlock();
        std::memcpy(out, part->bytes.get() + from, count);
        return count;
    }
}

void FetchedBytes::CountReader(const std::string& name) {
    const std::lock_guard lock(mutex);
    auto found = files.find(name);
    if (found == files.end()) {
        auto file = std::make_shared<File>();
        file->name = name;
        found = files.emplace(name, std::move(file)).first;
    }
    ++found->second->readers;
}

void FetchedBytes::DropReader(const std::string& name) {
    {
        const std::lock_guard lock(mutex);
        const auto found = files.find(name);
        File& file = *found->second;
        if (--file.readers > 0) return;
        for (const auto& [first, part] : file.parts) {
            free.erase({part->stamp, &file, first});
            kept -= part->end - first;
            if (part->holds > 0) held -= part->end - first;
        }
        file.parts.clear(); // the holder of a part may keep the file
        files.erase(found);
    }
    hasCome.notify_all();
}

namespace {

using GdalFile = std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)>;

GdalFile OpenToRead(const char* name) { return {VSIFOpenL(name, "rb"), &VSIFCloseL}; }

} // namespace

void FetchedBytes::Fetch(Piece& piece) noexcept {
    if (!piece.isMissing) return;
    const std::uint64_t size = piece.CountBytes();
    std::unique_ptr<char[]> bytes;
    std::size_t count = 0;
    requests.acquire();
    try {
        const GdalErrors silence;
        bytes.reset(new char[size]);
        const GdalFile file = OpenToRead(piece.file->name.c_str());
        if (file && VSIFSeekL(file.get(), piece.first, SEEK_SET) == 0)
            count = VSIFReadL(bytes.get(), 1, size, file.get());
        if (count < size && (count == 0 || !VSIFEofL(file.get()))) count = 0;
    } catch (const std::exception&) {
        count = 0; // the reader fetches it itself, or reports lack of memory
    }
    requests.release();
    {
        const std::lock_guard lock(mutex);
        piece.isMissing = false;
        if (!IsListed(piece)) return;
        if (count == 0) {
            Forget(piece);
        } else {
            if (count < size) piece.file->size = piece.first + count; // the end of the file
            kept -= size - count;
            held -= size - count;
            piece.part->end = piece.first + count;
            piece.part->bytes = std::move(bytes);
        }
    }
    hasCome.notify_all();
}

namespace {

/// A file on a server that GDAL reads through the fetched bytes.
struct KeptFile {
    std::string name;
    GdalFile file;
    std::uint64_t position = 0;
    bool isAtEnd = false;
};

KeptFile& Kept(void* file) { return *static_cast<KeptFile*>(file); }

void* OpenKept(void*, const char* name, const char* access) {
    if (std::strpbrk(access, "wa+")) return nullptr;
    GdalFile file = OpenToRead(name);
    if (!file) return nullptr;
    std::unique_ptr<KeptFile> kept(new KeptFile{name, std::move(file)});
    FetchedBytes::Get().CountReader(name);
    return kept.release();
}

int CloseKept(void* file) {
    const std::unique_ptr<KeptFile> closed(&Kept(file));
    FetchedBytes::Get().DropReader(closed->name);
    return VSIFCloseL(closed->file.release());
}

int SeekKept(void* file, vsi_l_offset offset, int whence) {
    KeptFile& kept = Kept(file);
    kept.isAtEnd = false;
    if (whence == SEEK_END) {
        if (VSIFSeekL(kept.file.get(), 0, SEEK_END) != 0) return -1;
        kept.position = VSIFTellL(kept.file.get()) + offset;
    } else {
        kept.position = whence == SEEK_CUR ? kept.position + offset : offset;
    }
    return 0;
}

std::size_t ReadAt(KeptFile& kept, char* out, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        std::size_t wanted = size - done;
        std::size_t count = FetchedBytes::Get().Read(kept.name, kept.position, out + done, wanted);
        if (count == 0) {
            if (VSIFSeekL(kept.file.get(), kept.position, SEEK_SET) != 0) break;
            count = VSIFReadL(out + done, 1, wanted, kept.file.get());
            kept.isAtEnd = count < wanted;
        }
        kept.position += count;
        done += count;
        if (count == 0 || kept.isAtEnd) break;
    }
    return done;
}

std::size_t ReadKept(void* file, void* out, std::size_t size, std::size_t count) {
    return size == 0 ? 0 : ReadAt(Kept(file), static_cast<char*>(out), size * count) / size;
}

bool InstallKept() {
    VSIFilesystemPluginCallbacksStruct* calls = VSIAllocFilesystemPluginCallbacksStruct();
    calls->stat = [](void*, const char* name, VSIStatBufL* state, int flags) {
        return VSIStatExL(name, state, flags);
    };
    calls->open = &OpenKept;
    calls->close = &CloseKept;
    calls->tell = [](void* file) -> vsi_l_offset { return Kept(file).position; };
    calls->seek = &SeekKept;
    calls->read = &ReadKept;
    calls->eof = [](void* file) { return Kept(file).isAtEnd ? 1 : 0; };
    const bool isInstalled = VSIInstallPluginHandler(keptPrefix, calls) == 0;
    VSIFreeFilesystemPluginCallbacksStruct(calls);
    return isInstalled;
}

} // namespace

std::string KeptName(const std::string& name) {
    static const bool isInstalled = InstallKept();
    return isInstalled ? keptPrefix + name : name;
}

std::string NameWithoutKept(const std::string& name) {
    const std::size_t length = std::strlen(keptPrefix);
    return name.compare(0, length, keptPrefix) == 0 ? name.substr(length) : name;
}

BytesAtHand::BytesAtHand(const std::vector<std::pair<std::string, ByteRange>>& ranges) {
    FetchedBytes& all = FetchedBytes::Get();
    for (const auto& [file, range] : ranges)
        for (FetchedBytes::Piece& piece : all.Claim(file, range, true))
            pieces.push_back(std::move(piece));
    const auto missing =
        static_cast<std::size_t>(std::ranges::count_if(pieces, &FetchedBytes::Piece::IsMissing));
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < pieces.size(); i = next++)
            all.Fetch(pieces[i]);
    };
    std::vector<std::future<void>> threads;
    try {
        while (threads.size() + 1 < std::min<std::size_t>(missing, FetchedBytes::mostRequests))
            threads.push_back(std::async(std::launch::async, work));
    } catch (const std::exception&) {
        // fewer threads will do
    }
    work();
}

} // namespace rasterhost
