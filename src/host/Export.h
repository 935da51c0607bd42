#pragma once

/// Marks what the plug-in exports.
#if defined(_WIN32)
#define PANSHARP_EXPORT __declspec(dllexport)
#else
#define PANSHARP_EXPORT __attribute__((visibility("default")))
#endif
