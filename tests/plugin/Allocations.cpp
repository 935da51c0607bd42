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
