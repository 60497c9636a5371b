# Debian packages (./dev.sh package), made by CPack from the install components:
#   libutility1        runtime  the shared objects (stripped; shlibs, ldconfig trigger)
#   libutility-dev     dev      headers, CMake package, pkg-config file, the .so links
#   libutility-tools   tools    inkrecog, scribblepad, their man pages, the pad's desktop
#                               entry and icon, the shared-mime-info type of .ink files
# The binaries are stripped. No -dbgsym packages: those of CPack 3.25 list absolute
# staging paths in their md5sums and carry no copyright file (lintian errors).
# Package names derive from LIBUTILITY_PACKAGE (the name of the CMake package), their
# documentation folders too.
if(NOT LIBUTILITY_PACKAGE)
  set(LIBUTILITY_PACKAGE libutility)
endif()
if(NOT LIBUTILITY_DEBIAN_QT_DEV)
  set(LIBUTILITY_DEBIAN_QT_DEV qtbase5-dev)
  set(LIBUTILITY_QT_MINIMUM 5.15)
endif()
set(LIBUTILITY_MAINTAINER "libutility developers <libutility-devel@example.org>")
# Debian's rule for library packages: the SONAME's major follows the name, after a
# hyphen when the name ends in a digit.
if(LIBUTILITY_PACKAGE MATCHES "[0-9]$")
  set(pkg_runtime ${LIBUTILITY_PACKAGE}-${PROJECT_VERSION_MAJOR})
else()
  set(pkg_runtime ${LIBUTILITY_PACKAGE}${PROJECT_VERSION_MAJOR})
endif()
set(pkg_dev ${LIBUTILITY_PACKAGE}-dev)
set(pkg_tools ${LIBUTILITY_PACKAGE}-tools)

# Every package carries the machine-readable copyright file and the changelog in
# /usr/share/doc/<package>/ (gzip -n: reproducible).
set(changelog_gz ${CMAKE_BINARY_DIR}/debian/changelog.gz)
add_custom_command(OUTPUT ${changelog_gz}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/debian
  COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/cmake/debian/changelog > ${changelog_gz}
  DEPENDS ${CMAKE_SOURCE_DIR}/cmake/debian/changelog VERBATIM)
add_custom_target(debian_changelog ALL DEPENDS ${changelog_gz})
foreach(component runtime dev tools)
  install(FILES ${CMAKE_SOURCE_DIR}/cmake/debian/copyright ${changelog_gz}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${pkg_${component}} COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${LIBUTILITY_PACKAGE})
set(CPACK_PACKAGE_VENDOR "libutility developers")
set(CPACK_PACKAGE_CONTACT ${LIBUTILITY_MAINTAINER})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# Each package's description below starts with its own synopsis line. CPackDeb puts
# the common summary in front of it unless that summary is CPack's default: keep that.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
# The tools package comes from a build that installs the tools by default.
if(TARGET inkrecog AND NOT LIBUTILITY_TOOLS_INSTALL)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE ${LIBUTILITY_PACKAGE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${pkg_runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# shlibs for every package that holds a shared object (only the runtime package does).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/debian/drop-ldconfig-scripts.cmake)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "ink, geometry and figure recognition library for Qt pen applications
The library records, analyses and files pen input: a figure recogniser
that turns scribbles into polygons, closed curves and line figures;
geometry and stroke analysis; an ink model with a little-endian binary
format; file handlers, zip archives, QVariant to XML, imaging and X11
desktop helpers.
.
This package holds the shared libraries.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${pkg_dev})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "${pkg_runtime} (= ${PROJECT_VERSION}), ${LIBUTILITY_DEBIAN_QT_DEV} (>= ${LIBUTILITY_QT_MINIMUM})")
set(CPACK_DEBIAN_DEV_DESCRIPTION
  "ink, geometry and figure recognition library for Qt - development files
The library records, analyses and files pen input: figure recognition,
geometry, an ink model with a binary format, files, archives, variants,
imaging and X11 desktop helpers.
.
This package holds the headers, the CMake package
(find_package(${LIBUTILITY_PACKAGE})) and the pkg-config file.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${pkg_tools})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${pkg_runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
  "figure recognition tools and drawing pad for hand-drawn ink
Two programs built on libutility: inkrecog classifies ink files and sets
of scribbles with the figure recogniser and prints, scores and draws the
answers; scribblepad is a drawing pad that turns hand-drawn figures into
clean shapes and opens .ink files from the desktop.")
# The tools link the runtime package's libraries, which are not installed while the
# packages are made: dpkg-shlibdeps finds them in the build tree, and the dependency on
# the runtime package is the exact version above.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/src)
include(CPack)
