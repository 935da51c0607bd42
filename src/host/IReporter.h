#pragma once

#include "fundament/Status.h"

namespace KOVA::Tessara::Global {

/// Receives the status of an object that reports it. Supplied by the host, which owns it.
class IReporter {
public:
    virtual ~IReporter() = default;
    virtual int Report(const Fundament::Status& status) = 0;
};

} // namespace KOVA::Tessara::Global
