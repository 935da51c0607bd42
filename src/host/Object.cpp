#include "host/Object.h"

#include "host/IReporter.h"

#include <cstdarg>
#include <cstdio>

namespace KOVA::Tessara::Global {

Object::Object() = default;
Object::~Object() = default;

int Object::SetErrorHandler(IReporter* reporter) {
    errorHandler = reporter;
    return 1;
}

int Object::SetStatusReporter(IReporter* reporter) {
    statusReporter = reporter;
    return 1;
}

// The operations below can meet two kinds of exception: lack of memory, and what a reporter throws. None may
// leave them.

std::string Object::ToString() {
    try {
        return properties.ToXml({});
    } catch (...) {
        return {};
    }
}

int Object::SetProperty(const std::string& name, const std::string& value) {
    try {
        properties[name] = value;
        return 1;
    } catch (...) {
        return 0;
    }
}

std::string Object::GetProperty(const std::string& name) {
    try {
        return properties.GetString(name);
    } catch (...) {
        return {};
    }
}

int Object::ReportStatus() {
    try {
        return statusReporter ? statusReporter->Report(status) : 0;
    } catch (...) {
        return 0;
    }
}

int Object::Report(const Fundament::Status& report) {
    try {
        return errorHandler ? errorHandler->Report(report) : 0;
    } catch (...) {
        return 0;
    }
}

int Object::Report(const char* source, const char* format, ...) {
    if (!errorHandler || !format) return 0;
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    try {
        Fundament::Status report;
        report.Add(0, text, source ? source : "");
        return errorHandler->Report(report);
    } catch (...) {
        return 0;
    }
}

} // namespace KOVA::Tessara::Global
