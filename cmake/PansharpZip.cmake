# One archive for Windows, made by "cpack --preset windows": plug-in, C library, headers, static libraries, examples.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME pansharp)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_FILE_NAME "pansharp-${PROJECT_VERSION}-windows-x86_64")
set(CPACK_STRIP_FILES ON)
install(TARGETS minimal_host c_embed c_gaps c_rows RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/minimal-host" "${PROJECT_SOURCE_DIR}/examples/c-embed"
  "${PROJECT_SOURCE_DIR}/examples/c-gaps" "${PROJECT_SOURCE_DIR}/examples/c-rows"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" COMPONENT development)
# Pansharp's own licence, once there is one, and the licences of the libraries linked in, as Debian states them.
set(licences "${CMAKE_INSTALL_DOCDIR}/licences")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${licences}" COMPONENT runtime OPTIONAL)
foreach(package libhwy-dev gcc-mingw-w64-x86-64-posix mingw-w64-x86-64-dev)
  install(FILES "/usr/share/doc/${package}/copyright" DESTINATION "${licences}" RENAME "${package}.txt"
    COMPONENT runtime OPTIONAL)
endforeach()
include(CPack)
