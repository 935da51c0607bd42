# How everything here is compiled, and the functions that the folders use.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# Part of the names of files that exist once per platform.
set(platform Posix)
if(WIN32)
  set(platform Windows)
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX)
endif()

# A multiplication followed by an addition must round twice: pixels are promised bit by bit.
add_compile_options(-ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wno-restrict) # GCC 12 wrongly reports overlaps inside std::string
  add_compile_options(--param=ggc-min-heapsize=524288) # kB: it collects garbage rarely, which saves a tenth of the time of large files
endif()

# Makes remaining mistakes harder to exploit. Kernels have no buffers on the stack that this would slow down.
option(PANSHARP_HARDEN "Checked library calls, stack protection, tables that are read-only after loading" OFF)
if(PANSHARP_HARDEN)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  add_link_options(-Wl,-z,relro -Wl,-z,now)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES C CXX)
endif()

set(PANSHARP_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize takes them")
if(PANSHARP_SANITIZE)
  add_compile_options(-fsanitize=${PANSHARP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${PANSHARP_SANITIZE})
endif()

# pansharp_library(NAME SOURCES ... LINKS ...): a static library with the folder's name.
function(pansharp_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>")
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${ARG_LINKS})
endfunction()

# pansharp_compile_quickly(TARGET ...): for code that waits for users and files and loops over few samples, and destroys no
# LargeBytes. It compiles in two thirds of the time.
function(pansharp_compile_quickly)
  foreach(target ${ARGN})
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Og>)
  endforeach()
endfunction()

# pansharp_exports(TARGET DESCRIPTION): makes a shared library export only what Exports.map in its folder lists; on Windows what
# Exports.def lists, if there is one. On Windows it also gets a version resource.
function(pansharp_exports name description)
  set(folder "${CMAKE_CURRENT_SOURCE_DIR}")
  if(WIN32)
    get_target_property(type ${name} TYPE)
    set(suffix .dll)
    set(output pansharp)
    if(type STREQUAL MODULE_LIBRARY)
      set(suffix .process)
      set(output Pansharp)
    endif()
    enable_language(RC)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/Version.rc.in" "${CMAKE_CURRENT_BINARY_DIR}/Version.rc" @ONLY)
    target_sources(${name} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/Version.rc")
    if(EXISTS "${folder}/Exports.def")
      target_sources(${name} PRIVATE "${folder}/Exports.def")
    endif()
    return()
  endif()
  target_link_options(${name} PRIVATE "-Wl,--version-script=${folder}/Exports.map" -Wl,-Bsymbolic)
  if(NOT PANSHARP_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
  set_target_properties(${name} PROPERTIES LINK_DEPENDS "${folder}/Exports.map")
endfunction()

# pansharp_test(NAME SOURCES ... LINKS ... [LABELS ...]): a GoogleTest program whose cases are found by CTest.
function(pansharp_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gmock GTest::gtest_main)
  # Optimising takes half the time of compiling a test. The tested code is compiled as it ships.
  target_compile_options(${name} PRIVATE $<IF:$<CONFIG:Release>,-O1,-O0>)
  if(CMAKE_CROSSCOMPILING) # each start of a program takes long there
    add_test(NAME ${name} COMMAND ${name})
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS "${ARG_LABELS}")
  endif()
endfunction()
