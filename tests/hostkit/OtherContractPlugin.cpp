#include "host/Describe.h"

#include <cstdint>

namespace {
// The only members that a description of another contract is sure to have.
struct {
    std::uint32_t structSize = 8;
    std::uint32_t contractVersion = PANSHARP_CONTRACT_VERSION + 1;
} description;
} // namespace

const PansharpDescription* Pansharp_Describe(void) {
    return reinterpret_cast<const PansharpDescription*>(&description);
}
