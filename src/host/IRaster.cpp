#include "host/IRaster.h"

namespace KOVA::Tessara::Pixmere {

IRaster::IRaster() = default;
IRaster::IRaster(const IRaster&) : IObject() {}
IRaster& IRaster::operator=(const IRaster&) { return *this; }
IRaster::~IRaster() = default;

} // namespace KOVA::Tessara::Pixmere
