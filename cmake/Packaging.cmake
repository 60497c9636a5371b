# Debian packages: libutility1 (the shared objects) and libutility-dev (headers, CMake
# package, pkg-config file and the .so links); the Qt 6 flavour makes libutility-qt6-1 and
# libutility-qt6-dev, which install beside them. Made by ./dev.sh package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${LIBUTILITY_PACKAGE})
set(CPACK_PACKAGE_VENDOR "libutility developers")
set(CPACK_PACKAGE_CONTACT "libutility developers <libutility@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# A name ending in a digit takes a dash before the SONAME's major.
if(LIBUTILITY_PACKAGE MATCHES "[0-9]$")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${LIBUTILITY_PACKAGE}-${PROJECT_VERSION_MAJOR})
else()
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${LIBUTILITY_PACKAGE}${PROJECT_VERSION_MAJOR})
endif()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "Ink, geometry and figure recognition library for Qt ${LIBUTILITY_QT} pen applications")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${LIBUTILITY_PACKAGE}-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION}), ${LIBUTILITY_DEBIAN_QT_DEV} (>= ${LIBUTILITY_QT_MINIMUM})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "Development files of ${LIBUTILITY_PACKAGE}: headers, CMake package, pkg-config file")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${CPACK_DEBIAN_RUNTIME_DESCRIPTION}")
set(CPACK_COMPONENT_DEV_DESCRIPTION "${CPACK_DEBIAN_DEV_DESCRIPTION}")
include(CPack)
