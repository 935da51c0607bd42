cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/Checks.cmake")
set(work "${BUILD}/installed-tree")
set(first "${work}/first")
set(prefix "${work}/moved here")
file(REMOVE_RECURSE "${work}")
unset(ENV{DESTDIR})
unset(ENV{PANSHARP_PLUGIN}) # so that the installed plug-in is found

run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${first}")
file(RENAME "${first}" "${prefix}")
check_tree("${prefix}" "${first}")

# The examples, and users of the image library and of the base class of processes, from copies outside the sources.
file(COPY "${SOURCE}/examples" "${SOURCE}/tests/install/image-library"
  "${SOURCE}/tests/install/raster-process" DESTINATION "${work}")
file(WRITE "${work}/CMakeLists.txt" "cmake_minimum_required(VERSION 3.25)
project(users LANGUAGES C CXX)
enable_testing()
add_subdirectory(examples)
add_subdirectory(image-library)
add_subdirectory(raster-process)
")
check_project("${work}" "${work}/build" "${prefix}" c_embed minimal_host image_library_user raster_process_user)
if(PKG_CONFIG)
  check_pkg_config("${work}/examples/c-embed/embed.c" "${work}/by-pkg-config" "${prefix}")
endif()
