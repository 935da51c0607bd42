#include "fundament/LargeBytes.h"

#include <new>
#include <sys/mman.h>

namespace KOVA::Tessara::Fundament {

void* AllocateLarge(std::size_t bytes) {
    if (bytes < largePage) return ::operator new(bytes);
    void* memory = ::operator new (bytes, std::align_val_t{largePage});
#ifdef MADV_HUGEPAGE
    madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return memory;
}

void FreeLarge(void* memory, std::size_t bytes) noexcept {
    if (bytes < largePage)
        ::operator delete(memory);
    else
        ::operator delete (memory, std::align_val_t{largePage});
}

} // namespace KOVA::Tessara::Fundament
