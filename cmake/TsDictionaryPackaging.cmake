# Debian packages with CPack, one per install component:
#   runtime      -> libtsdictionary1       the shared library
#   development  -> libtsdictionary-dev    headers, CMake package, pkg-config file
#   tsdict       -> tsdict                 the command-line tool
#   python       -> python3-tsdictionary   the Python module (when python/ is built)
# Each package carries the copyright file and changelog in /usr/share/doc/<package>. Build them
# with the "package" presets (prefix /usr, so the library goes to the multiarch directory, and
# Debian's hardening flags):
#   cmake --preset package && cmake --build --preset package && cpack --preset package
#
# lintian --pedantic -I on the packages leaves these tags, each on purpose:
#   W initial-upload-closes-no-bugs: the changelog closes no Debian bug; the packages are built
#     from this repository, not uploaded to Debian.
#   W maintainer-script-empty (postinst, postrm of libtsdictionary1): they exist only so that
#     CPack writes no ldconfig calls; libc's ldconfig trigger (debian/triggers) runs instead.
#   I binary-has-unneeded-section .comment: CPack strips with plain `strip`, which keeps the
#     compilers' version notes.
#   I hardening-no-fortify-functions (tsdict, python3-tsdictionary): built with
#     -D_FORTIFY_SOURCE=2, but their libc calls (fread into a buffer sized at run time, memcpy)
#     have no fortified form to pick.
#   I no-symbols-control-file: the shlibs file states the dependency (>= this version); a symbols
#     file listing every mangled C++ symbol would need hand upkeep for each release.

set(TSD_PACKAGE_MAINTAINER "TsDictionary developers <maintainers@tsdictionary.invalid>"
  CACHE STRING "Maintainer field of the Debian packages (set a real address for a release)")
set(TSD_DEBIAN_REVISION 1 CACHE STRING "Debian revision of the packages (the part after the '-')")
set(TSD_DEBIAN_VERSION "${PROJECT_VERSION}-${TSD_DEBIAN_REVISION}")

# component -> package name, section, summary; the extended descriptions follow below.
set(TSD_PACKAGE_runtime libtsdictionary1 libs "dynamically typed values and dictionaries for C++ hosts")
set(TSD_PACKAGE_development libtsdictionary-dev libdevel "dynamically typed values and dictionaries for C++ hosts - development files")
set(TSD_PACKAGE_tsdict tsdict utils "command-line tool of the TsDictionary library")
set(TSD_PACKAGE_python python3-tsdictionary python "dynamically typed values and dictionaries - Python 3 module")
set(TSD_PACKAGE_COMPONENTS runtime development tsdict python)

set(TSD_ABOUT "TsDictionary offers a value that holds any registered type or refers to a
variable of the host and converts what is assigned to it, dictionaries of named
values, a registry of value types and conversions, Skein-256 content
signatures, frame rates and SMPTE timecode.

")
set(TSD_DESCRIPTION_runtime "${TSD_ABOUT}This package holds the shared library.")
set(TSD_DESCRIPTION_development "${TSD_ABOUT}This package holds the headers, the CMake package (find_package(TsDictionary))
and the pkg-config file (tsdictionary).")
set(TSD_DESCRIPTION_tsdict "${TSD_ABOUT}This package holds tsdict, which signs files with Skein-256 and checks their
digests, formats, signs and lists JSON documents, and shows frame rates, frame
conversions and timecode labels.")
set(TSD_DESCRIPTION_python "${TSD_ABOUT}This package holds the Python 3 module tsdictionary.")

# Debian wants documentation files compressed with gzip -9 and no time stamp in the header.
function(tsd_install_gzipped source destination component)
  get_filename_component(name ${source} NAME)
  set(gzipped ${PROJECT_BINARY_DIR}/gzipped/${component}/${name}.gz)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/gzipped/${component})
  execute_process(COMMAND gzip -n -9 -c ${source} OUTPUT_FILE ${gzipped} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  install(FILES ${gzipped} DESTINATION ${destination} COMPONENT ${component})
endfunction()

configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${PROJECT_BINARY_DIR}/debian/changelog.Debian @ONLY)
set(TSD_DEBIAN_FILES ${CMAKE_CURRENT_LIST_DIR}/debian)

# CPack is set up once every directory has added its install rules, so that a component added
# later (python/) is found; components that install nothing get no package.
function(tsd_configure_packages)
  get_cmake_property(installed COMPONENTS)
  set(CPACK_COMPONENTS_ALL)
  foreach(component IN LISTS TSD_PACKAGE_COMPONENTS)
    if(NOT component IN_LIST installed)
      continue()
    endif()
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    list(GET TSD_PACKAGE_${component} 0 package)
    install(FILES ${TSD_DEBIAN_FILES}/copyright
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component})
    tsd_install_gzipped(${PROJECT_BINARY_DIR}/debian/changelog.Debian
      ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} ${component})
    string(TOUPPER ${component} upper)
    list(GET TSD_PACKAGE_${component} 1 section)
    list(GET TSD_PACKAGE_${component} 2 summary)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${TSD_DESCRIPTION_${component}}")
  endforeach()

  set(CPACK_PACKAGE_NAME tsdictionary)
  # Each component's description starts with its own synopsis line. The DEB generator puts a
  # summary line in front of it unless the summary is CPack's default text, so it is that.
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
  set(CPACK_PACKAGE_VENDOR "the TsDictionary developers")
  set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
  set(CPACK_PACKAGE_CONTACT "${TSD_PACKAGE_MAINTAINER}")
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${TSD_PACKAGE_MAINTAINER}")
  set(CPACK_DEBIAN_PACKAGE_RELEASE ${TSD_DEBIAN_REVISION})
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  # Dependencies on shared libraries come from dpkg-shlibdeps; those between our own packages
  # from the component dependencies, with the exact version.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # Our own library is found in the build tree; it has no shlibs entry on the build machine, so
  # the dependency on it comes from the component dependencies below.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
  set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
  set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
  set(CPACK_COMPONENT_TSDICT_DEPENDS runtime)
  set(CPACK_COMPONENT_PYTHON_DEPENDS runtime)
  # Hosts compile against the Boost.Thread headers our headers include.
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libboost-thread-dev")
  # An extension module is built for one Python 3 minor version.
  if("python" IN_LIST CPACK_COMPONENTS_ALL)
    find_package(Python3 COMPONENTS Interpreter REQUIRED)
    math(EXPR next_minor "${Python3_VERSION_MINOR} + 1")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "python3 (>= ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}), python3 (<< ${Python3_VERSION_MAJOR}.${next_minor})")
  endif()
  # The library package states its SONAME's dependency for the packages built against it.
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  # The loader cache is refreshed by libc's ldconfig trigger; scripts of our own replace the
  # ldconfig calls CPack would otherwise write into postinst and postrm.
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${TSD_DEBIAN_FILES}/triggers ${TSD_DEBIAN_FILES}/postinst ${TSD_DEBIAN_FILES}/postrm)
  set(CPACK_STRIP_FILES ON)
  include(CPack)
endfunction()
cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL tsd_configure_packages)
