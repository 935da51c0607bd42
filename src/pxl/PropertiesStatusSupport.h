#pragma once

#include "fundament/PropertyLookUp.h"
#include "fundament/Status.h"

namespace PXL {

namespace Fundament = KOVA::Tessara::Fundament;

/// What images and row operators share: their settings, which the creator fills before Init, and the record
/// of their last failure. A failing operation inserts its item at the front; the caller appends the items to
/// its own.
class PropertiesStatusSupport {
public:
    Fundament::PropertyLookUp properties;
    Fundament::Status status;

protected:
    /// Inserts an item with the default source, unless the same one already stands first: a caller that
    /// repeats a failing call does not make the status grow. Nor does one that fails with ever new words:
    /// the oldest of more than 64 items are dropped.
    void InsertOnce(std::uint32_t id, const std::string& message);
    static constexpr std::uint32_t mostItems = 64;

    ~PropertiesStatusSupport() = default;
};

} // namespace PXL
