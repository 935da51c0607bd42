# Debian packages, made by "cpack --preset release": pansharp has the command, the plug-in, the shared library,
# manual, completion and docs; libpansharp-dev what other programs are built with; python3-pansharp the Python package,
# where it is built for Debian's interpreter. The tests build and try them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pansharp)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Pansharp maintainers <${PANSHARP_EMAIL}>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME pansharp)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION science)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# The library is found by the loader once the package is there, and packages of what links it depend on this one.
file(WRITE "${PROJECT_BINARY_DIR}/debian/triggers" "activate-noawait ldconfig\n")
file(WRITE "${PROJECT_BINARY_DIR}/debian/shlibs"
  "libpansharp ${PROJECT_VERSION_MAJOR} pansharp (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/debian/triggers;${PROJECT_BINARY_DIR}/debian/shlibs")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "pan-sharpening of rasters: command, plug-in and library
Fuses a sharp panchromatic raster with a coarser multispectral one of the same
scene into a multispectral raster as fine as the first. Every pixel is defined
by a formula, and is the same for any window, thread count and processor.
.
The command reads and writes what GDAL does, fits the weights of the bands, and
tells before and after a run whether a pair fits and how good the result is.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libpansharp-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "pansharp (= ${PROJECT_VERSION}-1), libhwy-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "pan-sharpening of rasters: development files
The C interface, the contract between raster hosts and the plug-in, parts for
hosts over arrays, and the image library: headers, static libraries, and files
for CMake's find_package and for pkg-config.")
if(PANSHARP_PYTHON_PACKAGE AND PANSHARP_PYTHON_EXECUTABLE STREQUAL "/usr/bin/python3")
  list(APPEND CPACK_COMPONENTS_ALL python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-pansharp)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  math(EXPR next "${PANSHARP_PYTHON_PACKAGE} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "pansharp (= ${PROJECT_VERSION}-1), python3-numpy, python3 (>= 3.${PANSHARP_PYTHON_PACKAGE}), python3 (<< 3.${next})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-rasterio")
  # The library is in the package pansharp, which is named above.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
  # Compiled when it is installed, and what that made is taken away again.
  set(compile "#!/bin/sh\nset -e\nif command -v py3compile >/dev/null; then py3compile -p python3-pansharp; fi\n")
  set(clean "#!/bin/sh\nset -e\nif command -v py3clean >/dev/null; then py3clean -p python3-pansharp; fi\n")
  file(WRITE "${PROJECT_BINARY_DIR}/debian/python/postinst" "${compile}")
  file(WRITE "${PROJECT_BINARY_DIR}/debian/python/prerm" "${clean}")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    "${PROJECT_BINARY_DIR}/debian/python/postinst;${PROJECT_BINARY_DIR}/debian/python/prerm")
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "pan-sharpening of numpy arrays and rasters from Python
Fuses arrays where they lie, and files as the command does. Its pixels are those
of the command.")
endif()
include(CPack)
