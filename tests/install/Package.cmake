# Builds the Debian packages, unpacks them into an empty root and uses what is there.
cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/Checks.cmake")
set(work "${BUILD}/package-test")
set(root "${work}/root")
set(prefix "${root}/usr")
file(REMOVE_RECURSE "${work}")
unset(ENV{DESTDIR})
unset(ENV{PANSHARP_PLUGIN})

run("${CPACK}" -G DEB --config "${BUILD}/CPackConfig.cmake" -B "${work}/packages")
set(versions)
set(depends_of_pansharp "libgdal[0-9]+;libtbb[0-9]+;libxml2;libc6")
set(depends_of_libpansharp0 "pansharp [(]= ${VERSION}-1[)];libc6")
set(depends_of_libpansharp-dev "libpansharp0 [(]= ${VERSION}-1[)]")
set(depends_of_python3-pansharp "pansharp [(]= ${VERSION}-1[)];libpansharp0 [(]= ${VERSION}-1[)];python3-numpy;libgdal[0-9]+")
set(depends_of_qgis-plugin-pansharp "pansharp [(]>= ${VERSION}[)];qgis [(]>= 3.22[)]")
set(packages pansharp libpansharp0 libpansharp-dev qgis-plugin-pansharp)
if(PYTHON)
  list(APPEND packages python3-pansharp)
endif()
foreach(package IN LISTS packages)
  file(GLOB file "${work}/packages/${package}_*.deb")
  run(dpkg-deb -x "${file}" "${root}")
  run(dpkg-deb -f "${file}" Depends)
  foreach(expected IN LISTS depends_of_${package})
    if(NOT output MATCHES "${expected}")
      message(SEND_ERROR "${package} does not depend on ${expected}: ${output}")
    endif()
  endforeach()
  run(dpkg-deb -f "${file}" Version)
  string(REGEX REPLACE "-[0-9]+\n$" "" version "${output}")
  list(APPEND versions "package ${package}: ${version}")
endforeach()

check_tree("${prefix}")
run("${SOURCE}/tests/cli/CompletionTest.sh" "${prefix}/share/bash-completion/completions/pansharp"
  "${prefix}/share/zsh/vendor-completions/_pansharp" "${prefix}/bin/pansharp")
foreach(file ../${GDAL_FOLDER}/gdalplugins/gdal_PANSHARP.so share/doc/pansharp/README.md share/doc/pansharp/changelog.gz share/doc/pansharp/docs/command.md
    share/qgis/python/plugins/pansharp/metadata.txt)
  if(NOT EXISTS "${prefix}/${file}")
    message(SEND_ERROR "the package lacks ${file}")
  endif()
endforeach()

if(PYTHON)
  set(ENV{PYTHONPATH} "${prefix}/lib/python3/dist-packages")
  set(ENV{LD_LIBRARY_PATH} "${prefix}/${LIBDIR}")
  run("${PYTHON}" -B -c "import pansharp, importlib.metadata; pansharp.options(); pansharp.methods()
print('package for Python:', pansharp.__version__, ';what pip knows:', importlib.metadata.version('pansharp'), sep='', end='')")
  string(REPLACE ":" ": " output "${output}")
  list(APPEND versions ${output})
  unset(ENV{LD_LIBRARY_PATH})
  unset(ENV{PYTHONPATH})
endif()

# The version is the same everywhere: a C program asks the library and the plug-in, and CMake must find exactly this version.
file(WRITE "${work}/ask/versions.c" "#include <pansharp.h>
#include <stdio.h>
int main(void) {
    char error[1024];
    pansharp* library = pansharp_open(NULL, error, sizeof error);
    if (!library) return 1;
    printf(\"library: %s;plug-in, from C: %s\", pansharp_version(), pansharp_plugin_version(library));
    pansharp_close(library);
    return 0;
}
")
check_pkg_config("${work}/ask/versions.c" "${work}/ask/versions" "${prefix}")
list(APPEND versions ${output})
set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
run("${PKG_CONFIG}" --modversion pansharp)
string(STRIP "pkg-config: ${output}" told)
list(APPEND versions "${told}")
run("${prefix}/bin/pansharp" --version)
string(REGEX MATCH "^pansharp ([^\n]*)\n.*plug-in Pansharp ([^,]*)," told "${output}")
list(APPEND versions "command: ${CMAKE_MATCH_1}" "plug-in, from the command: ${CMAKE_MATCH_2}")
run(gzip -dc "${prefix}/share/man/man1/pansharp.1.gz")
string(REGEX MATCH "\"Pansharp ([^\"]*)\"" told "${output}")
list(APPEND versions "manual: ${CMAKE_MATCH_1}")
file(GLOB library "${prefix}/${LIBDIR}/libpansharp.so.*.*")
string(REGEX REPLACE ".*/libpansharp.so." "" told "${library}")
list(APPEND versions "library's file: ${told}")
foreach(told IN LISTS versions)
  if(NOT told MATCHES ": ${VERSION}$")
    message(SEND_ERROR "the version is ${VERSION}, but told by the ${told}")
  endif()
endforeach()

file(COPY "${SOURCE}/examples/c-embed" DESTINATION "${work}")
file(READ "${work}/c-embed/CMakeLists.txt" project)
string(REPLACE "find_package(Pansharp " "find_package(Pansharp ${VERSION} EXACT " project "${project}")
file(WRITE "${work}/c-embed/CMakeLists.txt" "${project}")
check_project("${work}/c-embed" "${work}/c-embed/build" "${prefix}" c_embed)
