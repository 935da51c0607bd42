#include "host/IRasterProcessChain.h"

namespace KOVA::Tessara::Pixmere {

IRasterProcessChain::IRasterProcessChain() = default;
IRasterProcessChain::IRasterProcessChain(const IRasterProcessChain&) : IObject() {}
IRasterProcessChain& IRasterProcessChain::operator=(const IRasterProcessChain&) { return *this; }
IRasterProcessChain::~IRasterProcessChain() = default;

} // namespace KOVA::Tessara::Pixmere
