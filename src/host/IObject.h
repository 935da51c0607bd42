#pragma once

#include "fundament/Status.h"

#include <string>

namespace KOVA::Tessara::Global {

class IReporter;

/// Root of every object that crosses the border between host and plug-in.
///
/// Rules for all interfaces here: an int result is nonzero for success and 0 for failure; a pointer result is
/// null on failure; GetStatus() has the reasons. Nothing throws. The order of the operations is part of the
/// contract, and all inheritance from IObject is virtual.
class IObject {
public:
    virtual ~IObject();
    /// Sets the receiver of single errors; not owned, null for none.
    virtual int SetErrorHandler(IReporter* reporter) = 0;
    /// Sets the receiver of whole statuses; not owned, null for none.
    virtual int SetStatusReporter(IReporter* reporter) = 0;
    /// The properties as text, for people; empty on failure.
    virtual std::string ToString() = 0;
    /// Sets a property; names match without regard to ASCII case.
    virtual int SetProperty(const std::string& name, const std::string& value) = 0;
    /// The trimmed value of a property; empty when it is not set.
    virtual std::string GetProperty(const std::string& name) = 0;
    /// The reasons for failures; valid as long as the object.
    virtual const Fundament::Status& GetStatus() = 0;
};

} // namespace KOVA::Tessara::Global
