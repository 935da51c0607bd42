#include "kernels/Simd.h"

#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <cstdlib>

// Of Highway's library only these functions are used. When it is loaded it measures the processor's
// clock, which takes 3 to 4 ms of every start. So on x86 they are defined here, and the library is not
// linked.
#if HWY_ARCH_X86
#include <cpuid.h>

namespace hwy {

namespace {

/// The registers eax, ebx, ecx and edx after the instruction CPUID; all 0 for an unknown leaf.
std::array<std::uint32_t, 4> AskProcessor(std::uint32_t leaf) {
    std::array<std::uint32_t, 4> is{};
    (void)__get_cpuid_count(leaf, 0, &is[0], &is[1], &is[2], &is[3]);
    return is;
}

bool HasBits(std::uint32_t value, std::uint32_t bits) { return (value & bits) == bits; }

/// The parts of the registers that the system saves per thread; 0 if that is unknown.
std::uint32_t KeptRegisters(std::uint32_t features) {
    constexpr std::uint32_t osxsave = 1U << 27;
    if (!HasBits(features, osxsave)) return 0;
    std::uint32_t low = 0, high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

} // namespace

/// Uses the bits of Intel's and AMD's manuals. The target AVX3_DL is not compiled.
std::int64_t SupportedTargets() {
    const std::uint32_t first = AskProcessor(1)[2], more = AskProcessor(7)[1];
    const std::uint32_t extended = AskProcessor(0x80000001U)[2], kept = KeptRegisters(first);
    constexpr std::uint32_t ssse3 = 1U << 0 | 1U << 9;                       // SSE3, SSSE3
    constexpr std::uint32_t sse4 = 1U << 1 | 1U << 19 | 1U << 20 | 1U << 25; // PCLMUL, SSE4.1, SSE4.2, AES
    constexpr std::uint32_t avx = 1U << 12 | 1U << 28 | 1U << 29;            // FMA, AVX, F16C
    constexpr std::uint32_t avx2 = 1U << 3 | 1U << 5 | 1U << 8, lzcnt = 1U << 5;         // BMI, AVX2, BMI2
    constexpr std::uint32_t avx3 = 1U << 16 | 1U << 17 | 1U << 28 | 1U << 30 | 1U << 31; // F, DQ, CD, BW, VL
    constexpr std::uint32_t avxKept = 0x06, avx3Kept = 0xE6;
    std::int64_t targets = HWY_SCALAR | HWY_EMU128;
    if (!HasBits(first, ssse3)) return targets;
    targets |= HWY_SSSE3;
    if (!HasBits(first, sse4)) return targets;
    targets |= HWY_SSE4;
    if (!HasBits(first, avx) || !HasBits(more, avx2) || !HasBits(extended, lzcnt) || !HasBits(kept, avxKept))
        return targets;
    targets |= HWY_AVX2;
    if (HasBits(more, avx3) && HasBits(kept, avx3Kept)) targets |= HWY_AVX3;
    return targets;
}

/// For Highway's assertions, which release builds do not have.
void Abort(const char* /*file*/, int /*line*/, const char* /*format*/, ...) { std::abort(); }

/// Needed for the table entry that chooses its function at the first call. It is never called: see ForTarget.
ChosenTarget& GetChosenTarget() { std::abort(); }

} // namespace hwy
#endif

namespace kernels {

namespace {

// These targets have no double-precision vectors or are emulated: the scalar definition is as fast.
constexpr std::int64_t unused = HWY_SCALAR | HWY_EMU128;

/// Cached: in a virtual machine, asking the processor takes as long as fusing a small window.
const std::vector<SimdTarget>& KnownTargets() {
    static const std::vector<SimdTarget> known = [] {
        std::vector<SimdTarget> targets;
        for (const std::int64_t target : hwy::SupportedAndGeneratedTargets())
            if ((target & unused) == 0) targets.push_back(target); // bits count from the best target up
        targets.push_back(0);
        return targets;
    }();
    return known;
}

} // namespace

std::vector<SimdTarget> SimdTargets() { return KnownTargets(); }

std::string SimdTargetName(SimdTarget target) {
    if (target == 0) return "scalar";
    std::string name = hwy::TargetName(target);
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return name;
}

SimdTarget ChosenSimdTarget() {
    const std::vector<SimdTarget>& targets = KnownTargets();
    if (const char* wanted = std::getenv("PANSHARP_SIMD"))
        for (const SimdTarget target : targets)
            if (SimdTargetName(target) == wanted) return target;
    return targets.front();
}

} // namespace kernels
