#pragma once

#include <cstddef>

/// This program's operator new, which the libraries use too: it counts, and fails when it is told to.
namespace allocations {

/// Blocks that are allocated now.
[[nodiscard]] long Live();

/// While it lives, one allocation of this thread fails, or every one from there on.
class Fault {
public:
    enum class Kind { Once, FromThereOn };

    Fault(long allocationsBefore, Kind kind);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    [[nodiscard]] static bool WasReached();
};

/// From now on those fail only that this answers true to, by the place that asks for the memory. It allocates
/// nothing.
void FailOnlyFor(bool (*isConcerned)(const void* caller));

} // namespace allocations
