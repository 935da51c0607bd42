#pragma once

#include "fundament/Status.h"

namespace KOVA::Tessara::Global {

/// Receives the status of an object that reports it. Supplied by the host, which owns it.
class IReporter {
public:
    virtual ~IReporter() = default;
    /// Takes a status, which is good during the call only. What it answers goes back to who reported.
    virtual int Report(const Fundament::Status& status) = 0;
};

} // namespace KOVA::Tessara::Global
