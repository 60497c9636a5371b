# Installation and the CMake package: find_package(libutility 1 CONFIG) gives
# libutility::utility (and libutility::logging); the Qt 6 flavour is the package
# libutility-qt6 with the same target names (cmake/QtFlavour.cmake).

# Relocatable installs. Outside the system library directories the libraries find each
# other through RUNPATH $ORIGIN and the tools find them through $ORIGIN/../<libdir>, so a
# prefix can be moved or copied as a whole and runs without LD_LIBRARY_PATH. Installed
# into a directory the dynamic linker searches anyway (/usr: the Debian packages),
# nothing carries an rpath.
set(LIBUTILITY_TOOLS inkrecog scribblepad)
if(NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_PLATFORM_IMPLICIT_LINK_DIRECTORIES
   AND NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
  file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(utility utility_logging PROPERTIES INSTALL_RPATH "$ORIGIN")
  foreach(tool IN LISTS LIBUTILITY_TOOLS)
    if(TARGET ${tool})
      set_target_properties(${tool} PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
    endif()
  endforeach()
endif()

set(LIBUTILITY_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/${LIBUTILITY_PACKAGE})
install(TARGETS utility utility_logging EXPORT libutilityTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(EXPORT libutilityTargets NAMESPACE libutility:: FILE ${LIBUTILITY_PACKAGE}Targets.cmake
        DESTINATION ${LIBUTILITY_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(cmake/libutilityConfig.cmake.in
  ${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}Config.cmake INSTALL_DESTINATION ${LIBUTILITY_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}Config.cmake
              ${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}ConfigVersion.cmake
        DESTINATION ${LIBUTILITY_CMAKE_DIR} COMPONENT dev)
# The .pc file finds its prefix from its own location, so the package relocates.
set(LIBUTILITY_LICENSE LGPL-2.1-or-later)
file(RELATIVE_PATH LIBUTILITY_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/libutility.pc.in ${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
