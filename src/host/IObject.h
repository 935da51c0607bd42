#pragma once

#include "fundament/Status.h"

#include <string>

namespace KOVA::Tessara::Global {

class IReporter;

/// Root of every object that crosses the border between host and plug-in.
///
/// Rules of the border, for all interfaces here: an int result is nonzero for success and 0 for failure, a
/// pointer result null on failure; reasons are read through GetStatus(). Nothing throws. The order of the
/// operations is part of the contract, and all inheritance from IObject is virtual.
class IObject {
public:
    virtual ~IObject();
    virtual int SetErrorHandler(IReporter* reporter) = 0;
    virtual int SetStatusReporter(IReporter* reporter) = 0;
    virtual std::string ToString() = 0;
    virtual int SetProperty(const std::string& name, const std::string& value) = 0;
    virtual std::string GetProperty(const std::string& name) = 0;
    virtual const Fundament::Status& GetStatus() = 0;
};

} // namespace KOVA::Tessara::Global
