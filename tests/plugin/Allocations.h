#pragma once

#include <cstddef>

/// This program's operator new, which the libraries use too. It counts allocations, and fails on request.
namespace allocations {

/// The number of currently allocated blocks.
[[nodiscard]] long Live();

/// While it lives, one allocation of this thread fails, or all of them from some point on.
class Fault {
public:
    enum class Kind { Once, FromThereOn };

    Fault(long allocationsBefore, Kind kind);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    [[nodiscard]] static bool WasReached();
};

/// From now on only allocations fail for which this returns true, given the place that asks for memory. It
/// must not allocate.
void FailOnlyFor(bool (*isConcerned)(const void* caller));

} // namespace allocations
