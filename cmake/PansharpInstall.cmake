# The contents of an installation, at any prefix: bin/pansharp, lib/libpansharp.so, the plug-in in lib/pansharp and the GDAL driver in
# lib/gdalplugins. For other programs: the headers, the static libraries behind them, a package for find_package and one for pkg-config.
#
#     Pansharp::contract   the border between host and plug-in (host, fundament)
#     Pansharp::hostkit    rasters, chains and a workspace over arrays, and the loader of the plug-in
#     Pansharp::capi       the C interface
#     Pansharp::pxl        the image library: images, fusion, row operators, colour spaces
#     Pansharp::plugin     the plug-in as a file
#     Pansharp::process    the base class of raster processes that the plug-in exports
#
# Each component is a Debian package: "runtime" is what runs, "library" the C interface, "development" what other programs are built
# with, "qgis" the plug-in for QGIS.
include(CMakePackageConfigHelpers)

# The image library under one name, with those of its folders that exist.
add_library(image_library INTERFACE)
set(image_folders pxl pansharp)
foreach(folder operators colourspace)
  if(TARGET ${folder})
    list(APPEND image_folders ${folder})
  endif()
endforeach()
target_link_libraries(image_library INTERFACE ${image_folders})

set_target_properties(host PROPERTIES EXPORT_NAME contract)
set_target_properties(pxl PROPERTIES EXPORT_NAME pxl_images)
set_target_properties(image_library PROPERTIES EXPORT_NAME pxl)
add_library(Pansharp::contract ALIAS host)
add_library(Pansharp::hostkit ALIAS hostkit)
add_library(Pansharp::capi ALIAS capi)
add_library(Pansharp::pxl ALIAS image_library)
add_library(Pansharp::plugin ALIAS plugin)
set_target_properties(raster_process PROPERTIES EXPORT_NAME process)
add_library(Pansharp::process ALIAS raster_process)

set(PANSHARP_INSTALL_FOLDER "${CMAKE_INSTALL_LIBDIR}/pansharp")
set(PANSHARP_PACKAGE_FOLDER "${CMAKE_INSTALL_LIBDIR}/cmake/Pansharp")
set(PANSHARP_HEADER_FOLDER "${CMAKE_INSTALL_INCLUDEDIR}/pansharp")

# Shared libraries find those beside them, wherever the installation lies. The static libraries lie beside the plug-in, since their
# names are common words. The same holds in the build tree: a placeholder there would be looked up in the current folder.
set_target_properties(capi PROPERTIES INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
set_target_properties(plugin PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/.." BUILD_WITH_INSTALL_RPATH ON)
install(TARGETS capi EXPORT Pansharp LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT library NAMELINK_COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set(plugin_folder ${PANSHARP_INSTALL_FOLDER})
if(WIN32) # in the folder of pansharp.dll
  set(plugin_folder ${CMAKE_INSTALL_BINDIR})
endif()
install(TARGETS plugin EXPORT Pansharp LIBRARY DESTINATION ${plugin_folder} COMPONENT runtime)
install(TARGETS fundament host hostkit kernels_simd kernels_fusion kernels_sampling ${image_folders} image_library
  raster_process EXPORT Pansharp ARCHIVE DESTINATION ${PANSHARP_INSTALL_FOLDER} COMPONENT development
  INCLUDES DESTINATION ${PANSHARP_HEADER_FOLDER})
if(TARGET cli)
  set_target_properties(cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}" BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/pansharp.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT runtime)
  install(FILES "${PROJECT_BINARY_DIR}/completion/bash" RENAME pansharp
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT runtime)
  install(FILES "${PROJECT_BINARY_DIR}/completion/zsh" RENAME _pansharp
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT runtime)
endif()

if(TARGET view_page)
  install(DIRECTORY "${PROJECT_BINARY_DIR}/share/pansharp" DESTINATION share COMPONENT runtime OPTIONAL)
endif()

if(TARGET gdaldriver)
  # GDAL looks for drivers in a folder beside its library, which lies among the system's libraries.
  set_target_properties(gdaldriver PROPERTIES INSTALL_RPATH "$ORIGIN/.." BUILD_WITH_INSTALL_RPATH ON)
  install(TARGETS gdaldriver LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/gdalplugins" COMPONENT runtime)
endif()

# The pages in the same folders as here, so that their links work; the manual where man looks for it.
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md" DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT runtime)
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime OPTIONAL)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg")

install(FILES "${PROJECT_SOURCE_DIR}/src/capi/pansharp.h" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)
foreach(folder fundament host hostkit kernels ${image_folders})
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/${folder}" DESTINATION ${PANSHARP_HEADER_FOLDER} COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "*-inl.h" EXCLUDE)
endforeach()

install(FILES "${PROJECT_SOURCE_DIR}/src/plugin/RasterProcess.h" DESTINATION "${PANSHARP_HEADER_FOLDER}/plugin"
  COMPONENT development)

install(EXPORT Pansharp NAMESPACE Pansharp:: FILE PansharpTargets.cmake DESTINATION ${PANSHARP_PACKAGE_FOLDER}
  COMPONENT development)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/PansharpConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/PansharpConfig.cmake" INSTALL_DESTINATION ${PANSHARP_PACKAGE_FOLDER}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/PansharpConfigVersion.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/PansharpConfig.cmake" "${PROJECT_BINARY_DIR}/PansharpConfigVersion.cmake"
  DESTINATION ${PANSHARP_PACKAGE_FOLDER} COMPONENT development)

# The path from the file's folder back to the prefix.
file(RELATIVE_PATH PANSHARP_PREFIX_FROM_PC "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/pansharp.pc.in" "${PROJECT_BINARY_DIR}/pansharp.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/pansharp.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  COMPONENT development)
