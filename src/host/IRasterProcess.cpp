#include "host/IRasterProcess.h"

namespace KOVA::Tessara::Pixmere {

IRasterProcess::IRasterProcess() = default;
IRasterProcess::IRasterProcess(const IRasterProcess&) : IObject(), IRaster() {}
IRasterProcess& IRasterProcess::operator=(const IRasterProcess&) { return *this; }
IRasterProcess::~IRasterProcess() = default;

} // namespace KOVA::Tessara::Pixmere
