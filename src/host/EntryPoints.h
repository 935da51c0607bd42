#pragma once

#include "host/Describe.h"
#include "host/IRasterProcess.h"
#include "host/Layout.h"

/// The entry points that a host finds by name in a raster-process library. They share no state and may be
/// called from any thread; an object is used by one caller at a time.
extern "C" {

/// Does nothing and ignores both values. Returns 0, which means success.
using TessaraInitialize = int (*)(void*, void*);

/// Makes one process object with these properties. Null when `properties` is null or no object can be made.
/// The first two values are ignored. The caller gives the object back through TessaraDestroyObject.
using TessaraCreateObject =
    KOVA::Tessara::Pixmere::IRasterProcess* (*)(void*, void*,
                                                const KOVA::Tessara::Global::NameValueMap* properties);

/// Destroys `*object` and sets it to null. Does nothing when it is null already. The first value is ignored.
/// Always returns 1.
using TessaraDestroyObject = int (*)(void*, KOVA::Tessara::Pixmere::IRasterProcess** object);

/// GetStatus and Cleanup do nothing and ignore the value. They return 0.
using TessaraGetStatus = int (*)(void*);
using TessaraCleanup = int (*)(void*);

using PansharpDescribe = const PansharpDescription* (*)();
}

namespace KOVA::Tessara::EntryPoints {

inline constexpr const char* initialize = "Tessara_RasterProcess_Initialize";
inline constexpr const char* createObject = "Tessara_RasterProcess_CreateObject";
inline constexpr const char* destroyObject = "Tessara_RasterProcess_DestroyObject";
inline constexpr const char* getStatus = "Tessara_RasterProcess_GetStatus";
inline constexpr const char* cleanup = "Tessara_RasterProcess_Cleanup";
inline constexpr const char* describe = "Pansharp_Describe";

} // namespace KOVA::Tessara::EntryPoints
