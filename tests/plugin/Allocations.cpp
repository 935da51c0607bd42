#include "Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> live{0};
thread_local long left = -1; // allocations before the next failing one; none fails if negative
thread_local bool goesOn = false;
thread_local bool reached = false;
bool (*concerned)(const void*) = nullptr;

bool Fails(const void* caller) {
    if (left < 0 || (concerned && !concerned(caller))) return false;
    if (left > 0) {
        --left;
        return false;
    }
    reached = true;
    if (!goesOn) left = -1;
    return true;
}

} // namespace

void* operator new(std::size_t size) {
    void* block = Fails(__builtin_return_address(0)) ? nullptr : std::malloc(size ? size : 1);
    if (!block) throw std::bad_alloc();
    ++live;
    return block;
}

void operator delete(void* block) noexcept {
    if (block) --live;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

#ifndef _WIN32 // where large buffers are not aligned
void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    void* block = Fails(__builtin_return_address(0))
                      ? nullptr
                      : std::aligned_alloc(unit, (size + unit - 1) / unit * unit);
    if (!block) throw std::bad_alloc();
    ++live;
    return block;
}

void operator delete(void* block, std::align_val_t) noexcept { operator delete(block); }
#endif

namespace allocations {

long Live() { return live; }

Fault::Fault(long allocationsBefore, Kind kind) {
    reached = false;
    goesOn = kind == Kind::FromThereOn;
    left = allocationsBefore;
}

Fault::~Fault() { left = -1; }

bool Fault::WasReached() { return reached; }

void FailOnlyFor(bool (*isConcerned)(const void* caller)) { concerned = isConcerned; }

} // namespace allocations
