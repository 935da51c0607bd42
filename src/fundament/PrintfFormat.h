#pragma once

/// Has the compiler check the arguments of a function against its format, which is read as the C standard has
/// it: on Windows, printf would stand for an older library there.
#if defined(__MINGW32__)
#define PANSHARP_PRINTF(format_, first_) __attribute__((format(gnu_printf, format_, first_)))
#else
#define PANSHARP_PRINTF(format_, first_) __attribute__((format(printf, format_, first_)))
#endif
