#pragma once

#include "fundament/PropertyLookUp.h"

#include <string>
#include <vector>

namespace PXL {

/// A list of numbers as metadata shows it: three decimals each, joined by ", ".
[[nodiscard]] std::string NumberList(const std::vector<double>& numbers);

/// Facts about the configuration, published while metadata is enabled. It is the primary base of every image
/// and row operator: its two operations take slots 0 and 1 of their virtual tables.
class MetadataSupport {
public:
    /// The facts, owned by this object.
    virtual KOVA::Tessara::Fundament::PropertyLookUp& GetMetadata();
    virtual bool EnableMetadata(bool on); ///< returns `on`

protected:
    ~MetadataSupport() = default;

    KOVA::Tessara::Fundament::PropertyLookUp metadata;
    bool metadataEnabled = true;
};

} // namespace PXL
