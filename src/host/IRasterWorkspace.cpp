#include "host/IRasterWorkspace.h"

namespace KOVA::Tessara::Pixmere {

IRasterWorkspace::IRasterWorkspace() = default;
IRasterWorkspace::IRasterWorkspace(const IRasterWorkspace&) : IObject() {}
IRasterWorkspace& IRasterWorkspace::operator=(const IRasterWorkspace&) { return *this; }
IRasterWorkspace::~IRasterWorkspace() = default;

} // namespace KOVA::Tessara::Pixmere
