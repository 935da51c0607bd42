#pragma once

#include "fundament/Status.h"

namespace KOVA::Tessara::Global {

/// Receives the status that an object reports. The host supplies and owns it.
class IReporter {
public:
    virtual ~IReporter() = default;
    /// Takes a status, which is valid only during the call. The result is passed back to the object that
    /// reports.
    virtual int Report(const Fundament::Status& status) = 0;
};

} // namespace KOVA::Tessara::Global
