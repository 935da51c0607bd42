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
#include <semaphore>
#include <system_error>

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
    : bound(ConfiguredBytes("CPL_VSIL_CURL_CACHE_SIZE", std::uint64_t{256} << 20)),
      grain(std::clamp(ConfiguredBytes("CPL_VSIL_CURL_CHUNK_SIZE", 16384), leastGrain, mostGrain)),
      pieceBytes(
          std::max(std::min(bound / 4 / mostRequests, std::uint64_t{4} << 20) / grain, std::uint64_t{1}) *
          grain) {}

FetchedBytes& FetchedBytes::Get() {
    static FetchedBytes all;
    return all;
}

FetchedBytes::Part* FetchedBytes::Find(const Place& place) {
    const auto file = files.find(place.first);
    if (file == files.end()) return nullptr;
    const auto part = file->second.parts.find(place.second);
    return part == file->second.parts.end() ? nullptr : &part->second;
}

std::vector<FetchedBytes::Piece> FetchedBytes::Claim(const std::string& file, ByteRange range,
                                                     std::uint64_t mostNew) {
    const std::lock_guard lock(mutex);
    std::vector<Piece> pieces;
    const auto found = files.find(file);
    if (found == files.end()) return pieces;
    auto& parts = found->second.parts;
    range = {range.first / grain * grain, (range.second + grain - 1) / grain * grain};
    while (range.first < range.second) {
        auto next = parts.upper_bound(range.first);
        const bool isThere = next != parts.begin() && std::prev(next)->second.end > range.first;
        if (isThere)
            --next;
        else if (mostNew == 0)
            break;
        else {
            const std::uint64_t end = std::min(
                {next == parts.end() ? range.second : next->first, range.second, range.first + pieceBytes});
            mostNew -= std::min(mostNew, end - range.first);
            next = parts.emplace_hint(next, range.first, Part{});
            next->second.end = end;
        }
        auto& [first, part] = *next;
        const Place place{file, first};
        if (part.holds++ == 0 && part.bytes) free.erase({part.stamp, place});
        pieces.push_back({place, part.end, !isThere});
        range.first = part.end;
    }
    return pieces;
}

/// Fewer bytes than were claimed are the last of the file.
void FetchedBytes::Put(const Place& place, std::shared_ptr<char[]> bytes, std::uint64_t count) {
    {
        const std::lock_guard lock(mutex);
        if (Part* part = Find(place); part && !part->bytes) {
            part->end = std::min(part->end, place.second + count);
            part->bytes = std::move(bytes);
            part->stamp = ++clock;
            if (part->holds == 0) free.emplace(part->stamp, place);
            kept += part->end - place.second;
            MakeRoom();
        }
    }
    hasCome.notify_all();
}

void FetchedBytes::Forget(const Place& place) {
    {
        const std::lock_guard lock(mutex);
        if (Find(place)) files[place.first].parts.erase(place.second);
    }
    hasCome.notify_all();
}

void FetchedBytes::Release(const Place& place, bool isReadAgain) {
    const std::lock_guard lock(mutex);
    Part* part = Find(place);
    if (!part || part->holds == 0 || --part->holds > 0 || !part->bytes) return;
    part->stamp = isReadAgain ? ++clock : 0;
    free.emplace(part->stamp, place);
    MakeRoom();
}

void FetchedBytes::MakeRoom() {
    while (kept > bound && !free.empty()) {
        const Place place = free.begin()->second;
        free.erase(free.begin());
        kept -= Find(place)->end - place.second;
        files[place.first].parts.erase(place.second);
    }
}

std::size_t FetchedBytes::Read(const std::string& file, std::uint64_t offset, char* out, std::size_t& size) {
    std::unique_lock lock(mutex);
    while (true) {
        const auto found = files.find(file);
        if (found == files.end()) return 0;
        const auto& parts = found->second.parts;
        auto next = parts.upper_bound(offset);
        if (next == parts.begin() || std::prev(next)->second.end <= offset) {
            if (next != parts.end()) size = std::min<std::uint64_t>(size, next->first - offset);
            return 0;
        }
        const auto& [first, part] = *--next;
        if (!part.bytes) {
            hasCome.wait(lock);
            continue;
        }
        const std::shared_ptr<char[]> bytes = part.bytes;
        const std::size_t count = std::min<std::uint64_t>(size, part.end - offset);
        const std::uint64_t from = offset - first;
        lock.unlock();
        std::memcpy(out, bytes.get() + from, count);
        return count;
    }
}

void FetchedBytes::CountReader(const std::string& file) {
    const std::lock_guard lock(mutex);
    ++files[file].readers;
}

void FetchedBytes::DropReader(const std::string& file) {
    {
        const std::lock_guard lock(mutex);
        const auto found = files.find(file);
        if (--found->second.readers > 0) return;
        for (const auto& [first, part] : found->second.parts) {
            free.erase({part.stamp, {file, first}});
            if (part.bytes) kept -= part.end - first;
        }
        files.erase(found);
    }
    hasCome.notify_all();
}

void FetchedBytes::Fetch(const Piece& piece) {
    static std::counting_semaphore<> requests(mostRequests);
    const std::uint64_t first = piece.place.second, size = piece.end - first;
    std::shared_ptr<char[]> bytes;
    std::size_t count = 0;
    requests.acquire();
    try {
        const GdalErrors silence;
        bytes.reset(new char[size]);
        const std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)> file(
            VSIFOpenL(piece.place.first.c_str(), "rb"), &VSIFCloseL);
        if (file && VSIFSeekL(file.get(), first, SEEK_SET) == 0)
            count = VSIFReadL(bytes.get(), 1, size, file.get());
        if (count < size && (count == 0 || !VSIFEofL(file.get()))) count = 0;
    } catch (const std::exception&) {
        count = 0; // the reader fetches it, or tells that there is no memory
    }
    requests.release();
    if (count > 0)
        Put(piece.place, std::move(bytes), count);
    else
        Forget(piece.place);
}

namespace {

constexpr const char* ownPrefix = "/vsipansharp/";

/// A file of a server that GDAL reads through what was fetched.
struct KeptFile {
    std::string name;
    VSILFILE* file;
    std::uint64_t position = 0;
    bool isAtEnd = false;
};

KeptFile& Kept(void* file) { return *static_cast<KeptFile*>(file); }

void* OpenKept(void*, const char* name, const char* access) {
    if (std::strpbrk(access, "wa+")) return nullptr;
    VSILFILE* file = VSIFOpenL(name, "rb");
    if (!file) return nullptr;
    FetchedBytes::Get().CountReader(name);
    return new KeptFile{name, file};
}

int CloseKept(void* file) {
    const std::unique_ptr<KeptFile> closed(&Kept(file));
    FetchedBytes::Get().DropReader(closed->name);
    return VSIFCloseL(closed->file);
}

int SeekKept(void* file, vsi_l_offset offset, int whence) {
    KeptFile& kept = Kept(file);
    kept.isAtEnd = false;
    if (whence == SEEK_END) {
        if (VSIFSeekL(kept.file, 0, SEEK_END) != 0) return -1;
        kept.position = VSIFTellL(kept.file) + offset;
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
            if (VSIFSeekL(kept.file, kept.position, SEEK_SET) != 0) break;
            count = VSIFReadL(out + done, 1, wanted, kept.file);
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
    const bool isInstalled = VSIInstallPluginHandler(ownPrefix, calls) == 0;
    VSIFreeFilesystemPluginCallbacksStruct(calls);
    return isInstalled;
}

} // namespace

std::string KeptName(const std::string& name) {
    static const bool isInstalled = InstallKept();
    return isInstalled ? ownPrefix + name : name;
}

std::string NameWithoutKept(const std::string& name) {
    const std::size_t length = std::strlen(ownPrefix);
    return name.compare(0, length, ownPrefix) == 0 ? name.substr(length) : name;
}

BytesAtHand::BytesAtHand(const std::vector<std::pair<std::string, ByteRange>>& ranges) {
    FetchedBytes& all = FetchedBytes::Get();
    std::uint64_t room = all.GetBound();
    std::vector<FetchedBytes::Piece> missing;
    for (const auto& [file, range] : ranges)
        for (const FetchedBytes::Piece& piece : all.Claim(file, range, room)) {
            pieces.push_back(piece);
            if (!piece.isNew) continue;
            missing.push_back(piece);
            room -= std::min(room, piece.end - piece.place.second);
        }
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < missing.size(); i = next++)
            all.Fetch(missing[i]);
    };
    std::vector<std::future<void>> threads;
    try {
        while (threads.size() + 1 < std::min<std::size_t>(missing.size(), FetchedBytes::mostRequests))
            threads.push_back(std::async(std::launch::async, work));
    } catch (const std::system_error&) {
        // fewer threads do it, too
    }
    work();
}

BytesAtHand::~BytesAtHand() {
    for (const FetchedBytes::Piece& piece : pieces)
        FetchedBytes::Get().Release(piece.place, true);
}

} // namespace rasterhost
