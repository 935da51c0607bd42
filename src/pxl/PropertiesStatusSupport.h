#pragma once

#include "fundament/PropertyLookUp.h"
#include "fundament/Status.h"

namespace PXL {

namespace Fundament = KOVA::Tessara::Fundament;

/// What images and row operators share: their settings, which the creator fills before Init, and the record
/// of their failures. A failing operation inserts its item at the front; the caller appends the items to its
/// own status.
class PropertiesStatusSupport {
public:
    Fundament::PropertyLookUp properties;
    Fundament::Status status;

protected:
    /// Inserts an item with the default source, unless the same item already stands first: so a failing call
    /// that is repeated does not make the status grow. At most `mostItems` items are kept; the oldest are
    /// dropped.
    void InsertOnce(std::uint32_t id, const std::string& message);
    static constexpr std::uint32_t mostItems = 64;

    ~PropertiesStatusSupport() = default;
};

} // namespace PXL
