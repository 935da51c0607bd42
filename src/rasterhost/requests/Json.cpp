#include "rasterhost/requests/Json.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <mutex>

namespace rasterhost {

namespace {

/// Room for a list of 200 000 values while it grows. Pages that nobody touches take no memory.
alignas(std::max_align_t) unsigned char spare[std::size_t{16} << 20];
std::size_t spareUsed, spareBlocks;
std::recursive_mutex spareMutex; // is held while a block is out

/// Heads live as long as their values, on any thread.
struct Head {
    alignas(std::max_align_t) unsigned char bytes[jsonHeadBytes];
};
Head heads[1024];
bool isHeadTaken[std::size(heads)];
std::mutex headMutex;

bool IsIn(const void* block, const void* first, const void* end) {
    return !std::less<>()(block, first) && std::less<>()(block, end);
}

} // namespace

void* TakeJsonHead() {
    if (void* block = ::operator new(jsonHeadBytes, std::nothrow)) return block;
    const std::scoped_lock lock(headMutex);
    bool* const free = std::find(std::begin(isHeadTaken), std::end(isHeadTaken), false);
    if (free == std::end(isHeadTaken)) throw std::bad_alloc();
    *free = true;
    return heads + (free - isHeadTaken);
}

void ReturnJsonHead(void* block) noexcept {
    if (!IsIn(block, heads, std::end(heads))) return ::operator delete(block);
    const std::scoped_lock lock(headMutex);
    isHeadTaken[static_cast<Head*>(block) - heads] = false;
}

void* TakeSpareMemory(std::size_t bytes) {
    if (void* block = ::operator new(bytes, std::nothrow)) return block;
    std::unique_lock lock(spareMutex);
    constexpr std::size_t step = alignof(std::max_align_t);
    if (bytes > sizeof spare - spareUsed) throw std::bad_alloc();
    void* block = spare + spareUsed;
    spareUsed += (bytes + step - 1) / step * step;
    ++spareBlocks;
    (void)lock.release();
    return block;
}

void ReturnSpareMemory(void* block) noexcept {
    if (!IsIn(block, spare, std::end(spare))) return ::operator delete(block);
    if (--spareBlocks == 0) spareUsed = 0;
    spareMutex.unlock();
}

} // namespace rasterhost
