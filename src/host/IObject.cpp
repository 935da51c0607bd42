#include "host/IObject.h"

namespace KOVA::Tessara::Global {

IObject::~IObject() = default;

} // namespace KOVA::Tessara::Global
