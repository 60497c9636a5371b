# Installation and the CMake package: find_package(libutility 1 CONFIG) gives
# libutility::utility (and libutility::logging); the Qt 6 flavour is the package
# libutility-qt6 with the same target names (cmake/QtFlavour.cmake).
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
file(RELATIVE_PATH LIBUTILITY_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/libutility.pc.in ${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/${LIBUTILITY_PACKAGE}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
