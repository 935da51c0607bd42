#pragma once

#include "fundament/PrintfFormat.h"
#include "fundament/PropertyLookUp.h"
#include "host/IObject.h"

namespace KOVA::Tessara::Global {

/// The shared implementation of IObject: a property lookup and a status record, which derived classes read
/// and write directly. Reporters are not owned.
class Object : public virtual IObject {
public:
    Object();
    ~Object() override;

    int SetErrorHandler(IReporter* reporter) override;   ///< null removes it; returns 1
    int SetStatusReporter(IReporter* reporter) override; ///< null removes it; returns 1
    std::string ToString() override;                     ///< the properties as a flat element list
    /// Returns 1, or 0 when memory runs out.
    int SetProperty(const std::string& name, const std::string& value) override;
    std::string GetProperty(const std::string& name) override; ///< empty when missing; adds nothing
    /// The object's own status, valid as long as the object.
    const Fundament::Status& GetStatus() override { return status; }

    /// Passes the object's own status to the status reporter. Returns the reporter's answer, or 0 without a
    /// reporter.
    virtual int ReportStatus();
    /// Passes a status to the error handler. Returns the handler's answer, or 0 without a handler.
    virtual int Report(const Fundament::Status& report);
    /// Passes one plain printf-formatted message to the error handler. Returns like the other Report.
    virtual int Report(const char* source, const char* format, ...) PANSHARP_PRINTF(3, 4);

protected:
    Fundament::PropertyLookUp properties; ///< the settings
    Fundament::Status status;             ///< what failed

private:
    IReporter* errorHandler = nullptr;
    IReporter* statusReporter = nullptr;
};

} // namespace KOVA::Tessara::Global
