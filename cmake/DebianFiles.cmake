# Runs before the packages are closed: compresses pages, and gives the two changelogs and the licence Debian's names.
function(compress file)
  execute_process(COMMAND gzip -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(GLOB pages "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*.[1-9]")
foreach(page IN LISTS pages)
  compress("${page}")
endforeach()

set(doc "${CPACK_TEMPORARY_DIRECTORY}/runtime/usr/share/doc/pansharp")
file(RENAME "${doc}/CHANGELOG.md" "${doc}/changelog")
compress("${doc}/changelog")

string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(REGEX MATCH "^[0-9]+" major "${CPACK_PACKAGE_VERSION}")
set(packages runtime/usr/share/doc/pansharp library/usr/share/doc/libpansharp${major}
  development/usr/share/doc/libpansharp-dev qgis/usr/share/doc/qgis-plugin-pansharp)
if(EXISTS "${CPACK_TEMPORARY_DIRECTORY}/python")
  list(APPEND packages python/usr/share/doc/python3-pansharp)
endif()
foreach(package IN LISTS packages)
  set(file "${CPACK_TEMPORARY_DIRECTORY}/${package}/changelog.Debian")
  file(WRITE "${file}" "pansharp (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * What has changed stands in changelog.gz of pansharp.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
  compress("${file}")
  if(EXISTS "${doc}/LICENSE") # Debian's name for it
    file(COPY_FILE "${doc}/LICENSE" "${CPACK_TEMPORARY_DIRECTORY}/${package}/copyright")
  endif()
endforeach()
file(REMOVE "${doc}/LICENSE")
