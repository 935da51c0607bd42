# Packages, made by "cpack --preset release". For Debian: pansharp contains the command, the plug-in, the GDAL driver, manual, completion
# and docs; libpansharp0 the C interface; libpansharp-dev what other programs are built with; python3-pansharp the Python package, if it
# is built for Debian's interpreter; qgis-plugin-pansharp the plug-in for QGIS. A zip contains the latter for QGIS's "Install from ZIP".
# The tests build and try them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pansharp)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Pansharp maintainers <${PANSHARP_EMAIL}>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime library development qgis)
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/PackageKinds.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME pansharp)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION science)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "pan-sharpening of rasters: command, plug-in and driver of GDAL
Fuses a sharp panchromatic raster with a coarser multispectral one of the same
scene into a multispectral raster as fine as the first. Every pixel is defined
by a formula, and is the same for any window, thread count and processor.
.
The command reads and writes what GDAL does, fits the weights of the bands, and
tells before and after a run whether a pair fits and how good the result is.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libpansharp${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "pansharp (= ${PROJECT_VERSION}-1)") # it loads the plug-in
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
# The loader finds the library once the package is installed; packages that link it get a dependency on this one.
file(WRITE "${PROJECT_BINARY_DIR}/debian/triggers" "activate-noawait ldconfig\n")
file(WRITE "${PROJECT_BINARY_DIR}/debian/shlibs"
  "libpansharp ${PROJECT_VERSION_MAJOR} libpansharp${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/debian/triggers;${PROJECT_BINARY_DIR}/debian/shlibs")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "pan-sharpening of rasters: C interface
Fuses images in memory, or asked for, by the plug-in of the package pansharp.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libpansharp-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libpansharp${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-1)")
if(HWY_LIBRARY)
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", libhwy-dev")
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "pan-sharpening of rasters: development files
The C interface, the contract between raster hosts and the plug-in, parts for
hosts over arrays, and the image library: headers, static libraries, and files
for CMake's find_package and for pkg-config.")
# compile_python(COMPONENT PACKAGE [FOLDER]): compiles Python files at installation, and removes the results at removal.
function(compile_python component package)
  set(scripts "${PROJECT_BINARY_DIR}/debian/${package}")
  file(WRITE "${scripts}/postinst" "#!/bin/sh\nset -e\nif command -v py3compile >/dev/null; then py3compile -p ${package} ${ARGN}; fi\n")
  file(WRITE "${scripts}/prerm" "#!/bin/sh\nset -e\nif command -v py3clean >/dev/null; then py3clean -p ${package} ${ARGN}; fi\n")
  set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA "${scripts}/postinst;${scripts}/prerm" PARENT_SCOPE)
endfunction()

set(CPACK_DEBIAN_QGIS_PACKAGE_NAME qgis-plugin-pansharp)
set(CPACK_DEBIAN_QGIS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_QGIS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_QGIS_PACKAGE_DEPENDS "pansharp (>= ${PROJECT_VERSION}), qgis (>= 3.22), python3-qgis, python3-gdal, python3")
compile_python(QGIS qgis-plugin-pansharp "/usr/share/qgis/python/plugins/pansharp")
set(CPACK_COMPONENT_QGIS_DESCRIPTION "pan-sharpening of rasters: plug-in for QGIS
Three algorithms in the Processing toolbox: sharpen a scene, add one to the map
that is fused when it is looked at, check whether layers fit.")

if(PANSHARP_PYTHON_PACKAGE AND PANSHARP_PYTHON_EXECUTABLE STREQUAL "/usr/bin/python3")
  list(APPEND CPACK_COMPONENTS_ALL python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-pansharp)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  math(EXPR next "${PANSHARP_PYTHON_PACKAGE} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "pansharp (= ${PROJECT_VERSION}-1), libpansharp${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-1), python3-numpy, python3 (>= 3.${PANSHARP_PYTHON_PACKAGE}), python3 (<< 3.${next})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-rasterio")
  # The library is in a package named above.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
  compile_python(PYTHON python3-pansharp)
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "pan-sharpening of numpy arrays and rasters from Python
Fuses arrays where they lie, and files as the command does. Its pixels are those
of the command.")
endif()
include(CPack)
