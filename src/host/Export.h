#pragma once

/// Marks what the plug-in exports. On Windows the list plugin/Exports.def does this instead: a mark would
/// make every program built with this header export it too.
#if defined(_WIN32)
#define PANSHARP_EXPORT
#else
#define PANSHARP_EXPORT __attribute__((visibility("default")))
#endif
