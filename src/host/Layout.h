#pragma once

#include "host/Aoi.h"
#include "host/Describe.h"
#include "host/IRasterProcess.h"
#include "host/Object.h"

#include <cstddef>
#include <cstdint>

/// The memory layout of what crosses the border. Host and plug-in must agree on it, and so on the standard
/// library of their compilers. A program with another layout does not compile.
///
/// Entry points and operations use the calling convention of the platform's C++ compilers; 64-bit Windows has
/// only one. Numbers are little-endian. Virtual tables follow the Itanium C++ ABI, also on Windows.
namespace KOVA::Tessara::Layout {

#if UINTPTR_MAX == UINT64_MAX

// Plain C.
static_assert(sizeof(PansharpProperty) == 32 && offsetof(PansharpProperty, help) == 24);
static_assert(sizeof(PansharpBandParameter) == 104 && offsetof(PansharpBandParameter, minimum) == 64 &&
              offsetof(PansharpBandParameter, fit) == 80 &&
              offsetof(PansharpBandParameter, toProperties) == 88);
static_assert(sizeof(PansharpScalarParameter) == 48 && offsetof(PansharpScalarParameter, value) == 40);
static_assert(sizeof(PansharpMethod) == 80 && offsetof(PansharpMethod, minimumBands) == 32 &&
              offsetof(PansharpMethod, additionalBand) == 44 &&
              offsetof(PansharpMethod, bandParameters) == 56 &&
              offsetof(PansharpMethod, scalarParameters) == 72);
static_assert(sizeof(PansharpDescription) == 56 && offsetof(PansharpDescription, name) == 8 &&
              offsetof(PansharpDescription, methods) == 32 &&
              offsetof(PansharpDescription, properties) == 48);

// With strings, vectors and maps of the GNU standard library in a release build.
#if defined(__GLIBCXX__) && _GLIBCXX_USE_CXX11_ABI && !defined(_GLIBCXX_DEBUG)
static_assert(sizeof(std::string) == 32 && sizeof(std::vector<std::uint32_t>) == 24);
static_assert(sizeof(Pixmere::BandRecord) == 24 && sizeof(Pixmere::ProcessModifierFlags) == 8);
static_assert(sizeof(Pixmere::RasterInfo) == 144 && offsetof(Pixmere::RasterInfo, rows) == 16 &&
              offsetof(Pixmere::RasterInfo, bandIds) == 40 && offsetof(Pixmere::RasterInfo, xMin) == 88 &&
              offsetof(Pixmere::RasterInfo, reserved3) == 136);
#pragma GCC diagnostic                                                                                       \
    push // both compilers accept it even when the members of a record come from several bases
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(Pixmere::Aoi) == 272 && offsetof(Pixmere::Aoi, size) == 48 &&
              offsetof(Pixmere::Aoi, srs) == 56 && offsetof(Pixmere::Aoi, requestExtent) == 88 &&
              offsetof(Pixmere::Aoi, bandIds) == 144 && offsetof(Pixmere::Aoi, reserved) == 192 &&
              offsetof(Pixmere::Aoi, resultValue) == 216 && offsetof(Pixmere::Aoi, properties) == 224);
#pragma GCC diagnostic pop
static_assert(sizeof(Global::NameValueMap) == 48 && sizeof(Fundament::PropertyLookUp) == 80);
static_assert(sizeof(Fundament::StatusItem) == 104 && offsetof(Fundament::StatusItem, message) == 8);
static_assert(sizeof(Fundament::Status) == 56 && sizeof(Global::Object) == 160);
#endif

#endif

} // namespace KOVA::Tessara::Layout
