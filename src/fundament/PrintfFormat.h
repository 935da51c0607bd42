#pragma once

/// Makes the compiler check the arguments of a function against its format by the rules of the C standard. On
/// Windows, "printf" would mean the rules of an older library.
#if defined(__MINGW32__)
#define PANSHARP_PRINTF(format_, first_) __attribute__((format(gnu_printf, format_, first_)))
#else
#define PANSHARP_PRINTF(format_, first_) __attribute__((format(printf, format_, first_)))
#endif
