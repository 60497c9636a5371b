# The Qt major the library is built against is chosen here and only here
# (-DLIBUTILITY_QT=5, the default, or 6). Everything else names what differs between
# the two flavours through the variables set below:
#   QT                          Qt5 or Qt6: the Qt targets are ${QT}::Core, ${QT}::Widgets...
#   LIBUTILITY_QT_X11           Qt targets the X11 access needs beyond QtGui (Qt 5 only)
#   LIBUTILITY_PACKAGE          libutility or libutility-qt6: the CMake package, the
#                               pkg-config module, the Debian package names
#   LIBUTILITY_LIBRARY_NAME     utility or utility-qt6: libutility[-qt6].so.1 and
#                               libutility[-qt6]_logging.so.1
#   LIBUTILITY_INSTALL_INCLUDEDIR   where the <libutility/...> headers go: include/ for
#                               Qt 5 (so -I is not needed), include/libutility-qt6/ for Qt 6
#   LIBUTILITY_TOOLS_INSTALL    install() option of the tools: the Qt 6 flavour builds and
#                               tests them but installs them only on request (component
#                               "tools"), so that both flavours share a prefix file-free
# The Qt 5 flavour keeps every name it always had; the Qt 6 flavour renames every
# installed file, so that both can be installed side by side.
set(LIBUTILITY_QT 5 CACHE STRING "Qt major version to build against: 5 or 6")
set_property(CACHE LIBUTILITY_QT PROPERTY STRINGS 5 6)
if(LIBUTILITY_QT STREQUAL "5")
  set(LIBUTILITY_QT_MINIMUM 5.15)
  set(LIBUTILITY_QT_X11_COMPONENTS X11Extras)
  set(LIBUTILITY_FLAVOUR_SUFFIX "")
  set(LIBUTILITY_TOOLS_INSTALL)
  set(LIBUTILITY_DEBIAN_QT_DEV qtbase5-dev)
elseif(LIBUTILITY_QT STREQUAL "6")
  set(LIBUTILITY_QT_MINIMUM 6.4)
  set(LIBUTILITY_QT_X11_COMPONENTS) # QNativeInterface::QX11Application is in QtGui
  set(LIBUTILITY_FLAVOUR_SUFFIX -qt6)
  set(LIBUTILITY_TOOLS_INSTALL EXCLUDE_FROM_ALL)
  set(LIBUTILITY_DEBIAN_QT_DEV qt6-base-dev)
else()
  message(FATAL_ERROR "LIBUTILITY_QT is 5 or 6, not '${LIBUTILITY_QT}'")
endif()

set(QT Qt${LIBUTILITY_QT})
set(LIBUTILITY_PACKAGE libutility${LIBUTILITY_FLAVOUR_SUFFIX})
set(LIBUTILITY_LIBRARY_NAME utility${LIBUTILITY_FLAVOUR_SUFFIX})
if(LIBUTILITY_FLAVOUR_SUFFIX)
  set(LIBUTILITY_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/${LIBUTILITY_PACKAGE})
else()
  set(LIBUTILITY_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
endif()

find_package(${QT} ${LIBUTILITY_QT_MINIMUM} REQUIRED
             COMPONENTS Core Gui Widgets Xml Svg ${LIBUTILITY_QT_X11_COMPONENTS})
list(TRANSFORM LIBUTILITY_QT_X11_COMPONENTS PREPEND ${QT}:: OUTPUT_VARIABLE LIBUTILITY_QT_X11)
message(STATUS "libutility: Qt ${${QT}_VERSION}, installs as ${LIBUTILITY_PACKAGE}")
