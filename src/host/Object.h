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

    int SetErrorHandler(IReporter* reporter) override;   ///< null takes the handler away; returns 1
    int SetStatusReporter(IReporter* reporter) override; ///< null takes the reporter away; returns 1
    std::string ToString() override;                     ///< the properties as a flat element list
    /// Returns 1, or 0 when memory runs out.
    int SetProperty(const std::string& name, const std::string& value) override;
    std::string GetProperty(const std::string& name) override; ///< empty when missing; adds nothing
    /// The own status, good as long as the object.
    const Fundament::Status& GetStatus() override { return status; }

    /// Hands the own status to the status reporter. Returns its answer, 0 without a reporter.
    virtual int ReportStatus();
    /// Hands a status to the error handler. Returns its answer, 0 without a handler.
    virtual int Report(const Fundament::Status& report);
    /// Hands one plain message, printf-formatted, to the error handler.
    virtual int Report(const char* source, const char* format, ...) PANSHARP_PRINTF(3, 4);

protected:
    Fundament::PropertyLookUp properties; ///< the settings
    Fundament::Status status;             ///< what failed

private:
    IReporter* errorHandler = nullptr;
    IReporter* statusReporter = nullptr;
};

} // namespace KOVA::Tessara::Global
