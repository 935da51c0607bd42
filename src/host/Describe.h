#pragma once

#include "host/Export.h"

#include <cstdint>

/// What a plug-in says about itself before any object crosses the border, in a plain C shape: a host reads
/// `contractVersion` first and refuses a plug-in that was built against another contract.
extern "C" {

/// One setting of the process or of a method. All texts are UTF-8, zero-terminated, and live as long as the
/// library.
struct PansharpProperty {
    const char* name;         ///< per-band properties end in "-N"
    const char* type;         ///< "text", "boolean", "unsigned" or "double"
    const char* defaultValue; ///< what holds when it is not set, as text
    const char* help;         ///< one line
};

/// One way to fuse. Texts and properties live as long as the library.
struct PansharpMethod {
    const char* keyword;                ///< value of the property "Method"
    const char* summary;                ///< one line
    const char* formula;                ///< of one output sample
    const char* advice;                 ///< when to use it
    std::uint32_t minimumBands;         ///< multispectral bands that it needs
    std::uint32_t propertyCount;        ///< entries at `properties`
    const PansharpProperty* properties; ///< those that only this method reads, or reads in its own way
};

/// The plug-in as a whole.
struct PansharpDescription {
    std::uint32_t structSize;           ///< sizeof(PansharpDescription) as the plug-in knows it
    std::uint32_t contractVersion;      ///< PANSHARP_CONTRACT_VERSION as the plug-in knows it
    const char* name;                   ///< of the plug-in
    const char* version;                ///< of the plug-in, such as "1.2.3"
    std::uint32_t methodCount;          ///< entries at `methods`
    const PansharpMethod* methods;      ///< the first is the default
    std::uint32_t propertyCount;        ///< entries at `properties`
    const PansharpProperty* properties; ///< of the process, whatever the method
};

/// Changes whenever a host and a plug-in built before and after it could not work together.
#define PANSHARP_CONTRACT_VERSION 1u

/// Never null; the description lives as long as the library.
PANSHARP_EXPORT const PansharpDescription* Pansharp_Describe(void);
}
