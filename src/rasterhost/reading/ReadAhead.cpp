#include "rasterhost/reading/ReadAhead.h"

#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/InputImage.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_conv.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>
#include <system_error>
#include <utility>

namespace rasterhost {

namespace {

constexpr std::size_t mostRequests = 8; // at a time: what a server gives one client without complaint
constexpr std::uint64_t leastGrain = 1024, mostGrain = 10 << 20; // GDAL's own limits, in bytes

std::uint64_t ConfiguredBytes(const char* key, std::uint64_t otherwise) {
    const char* text = CPLGetConfigOption(key, nullptr);
    const std::uint64_t bytes = text ? std::strtoull(text, nullptr, 10) : 0;
    return bytes > 0 ? bytes : otherwise;
}

} // namespace

ReadAhead::ReadAhead()
    : cacheBytes(ConfiguredBytes("CPL_VSIL_CURL_CACHE_SIZE", 16384000)),
      grain(std::clamp(ConfiguredBytes("CPL_VSIL_CURL_CHUNK_SIZE", 16384), leastGrain, mostGrain)) {
    constexpr std::uint64_t mostBytes = std::uint64_t{4} << 20; // a request's delay is little beside it
    pieceBytes =
        std::max(std::min(cacheBytes / 4 / mostRequests, mostBytes) / grain, std::uint64_t{1}) * grain;
}

ReadAhead::~ReadAhead() {
    {
        const std::lock_guard lock(mutex);
        isOver = true;
        queue.clear();
    }
    isWanted.notify_all();
    for (std::thread& thread : threads)
        thread.join();
}

void ReadAhead::Ask(const hostkit::ImageSource& image, const hostkit::PixelRect& rect, std::uint64_t step) {
    const auto* input = dynamic_cast<const InputImage*>(&image);
    if (!input) return;
    for (const auto& [file, dataset] : input->GetDatasets()) {
        if (!IsOnNetwork(file)) continue;
        const std::uint64_t fileBytes = LookAt(file).bytes;
        for (const SourceBand& band : input->GetDescription()->bands)
            if (band.file == file)
                for (const ByteRange& bytes :
                     FindByteRanges(*dataset->GetRasterBand(band.number), rect, fileBytes))
                    AskBytes(file, bytes, step);
    }
}

/// Asks for what of it was not asked for before, in pieces, and leaves to the reader what the cache would
/// lose again.
void ReadAhead::AskBytes(const std::string& file, ByteRange bytes, std::uint64_t step) {
    bytes = {bytes.first / grain * grain, (bytes.second + grain - 1) / grain * grain};
    std::map<std::uint64_t, std::uint64_t>& before = asked[file];
    const std::lock_guard lock(mutex);
    std::uint64_t held = CountHeld();
    while (bytes.first < bytes.second && held < cacheBytes) {
        const auto next = before.upper_bound(bytes.first);
        if (next != before.begin() && std::prev(next)->second > bytes.first) {
            bytes.first = std::prev(next)->second;
            continue;
        }
        const std::uint64_t end = std::min(
            {next == before.end() ? bytes.second : next->first, bytes.second, bytes.first + pieceBytes});
        before[bytes.first] = end;
        queue.push_back({file, {bytes.first, end}, step});
        ++open[step];
        bytesHeld[step] += end - bytes.first;
        held += end - bytes.first;
        bytes.first = end;
    }
    StartThreads();
    isWanted.notify_all();
}

void ReadAhead::StartThreads() {
    try {
        while (threads.size() < mostRequests)
            threads.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
        if (threads.empty()) open.clear(); // the reader has all to itself
    }
}

std::uint64_t ReadAhead::CountHeld() const {
    std::uint64_t held = 0;
    for (const auto& [step, bytes] : bytesHeld)
        held += bytes;
    return held;
}

bool ReadAhead::HasRoom() {
    const std::lock_guard lock(mutex);
    return CountHeld() < cacheBytes / 2;
}

void ReadAhead::Wait(std::uint64_t step) {
    std::unique_lock lock(mutex);
    isFetched.wait(lock, [&] { return open.empty() || open.begin()->first > step; });
    bytesHeld.erase(bytesHeld.begin(), bytesHeld.lower_bound(step));
}

bool ReadAhead::InSteps(std::size_t count, const std::function<void(std::size_t)>& ask,
                        const std::function<bool(std::size_t)>& read) {
    for (std::size_t step = 0, next = 0; step < count; ++step) {
        next = std::max(next, step); // one that there was no room for has been read
        while (next < count && (next == 0 || IsUsed()) && HasRoom())
            ask(next++);
        if (IsUsed()) Wait(step);
        if (!read(step)) return false;
    }
    return true;
}

void ReadAhead::Fetch(const Piece& piece, std::vector<char>& bytes) {
    try {
        bytes.resize(piece.bytes.second - piece.bytes.first);
        const std::unique_ptr<VSILFILE, decltype(&VSIFCloseL)> file(VSIFOpenL(piece.file.c_str(), "rb"),
                                                                    &VSIFCloseL);
        if (file && VSIFSeekL(file.get(), piece.bytes.first, SEEK_SET) == 0)
            (void)VSIFReadL(bytes.data(), 1, bytes.size(), file.get());
    } catch (const std::exception&) {
        // the reader fetches it, or tells that there is no memory
    }
}

void ReadAhead::Work() {
    const GdalErrors silence;
    std::vector<char> bytes;
    std::unique_lock lock(mutex);
    while (true) {
        isWanted.wait(lock, [this] { return isOver || !queue.empty(); });
        if (isOver) return;
        const Piece piece = std::move(queue.front());
        queue.pop_front();
        lock.unlock();
        Fetch(piece, bytes);
        lock.lock();
        if (const auto left = open.find(piece.step); left != open.end() && --left->second == 0)
            open.erase(left);
        isFetched.notify_all();
    }
}

} // namespace rasterhost
