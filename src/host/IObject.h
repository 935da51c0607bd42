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
    /// Takes the receiver of single errors; not owned, null for none.
    virtual int SetErrorHandler(IReporter* reporter) = 0;
    /// Takes the receiver of whole statuses; not owned, null for none.
    virtual int SetStatusReporter(IReporter* reporter) = 0;
    /// The properties as text, for people; empty on failure.
    virtual std::string ToString() = 0;
    /// Sets a property; names match without regard to ASCII case.
    virtual int SetProperty(const std::string& name, const std::string& value) = 0;
    /// The trimmed value of a property; empty when there is none.
    virtual std::string GetProperty(const std::string& name) = 0;
    /// The reasons of what failed; good as long as the object.
    virtual const Fundament::Status& GetStatus() = 0;
};

} // namespace KOVA::Tessara::Global
