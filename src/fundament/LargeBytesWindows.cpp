#include "fundament/LargeBytes.h"

#include <new>

namespace KOVA::Tessara::Fundament {

// Large pages need a privilege that users do not have.

void* AllocateLarge(std::size_t bytes) { return ::operator new(bytes); }

void FreeLarge(void* memory, std::size_t) noexcept { ::operator delete(memory); }

} // namespace KOVA::Tessara::Fundament
