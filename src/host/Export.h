#pragma once

/// Marks what the plug-in exports. On Windows a list does, plugin/Exports.def: a mark would have every
/// program that is built with this header export it, too.
#if defined(_WIN32)
#define PANSHARP_EXPORT
#else
#define PANSHARP_EXPORT __attribute__((visibility("default")))
#endif
