# Run by CPack after the packages are made (CPACK_POST_BUILD_SCRIPTS). CPackDeb writes a
# postinst and a postrm that call ldconfig into every package with a library in
# /usr/lib; the runtime package declares the ldconfig trigger instead, as Debian's own
# library packages do, so the scripts are dropped and the package rebuilt without them.
foreach(deb IN LISTS CPACK_PACKAGE_FILES)
  execute_process(COMMAND dpkg-deb --ctrl-tarfile ${deb} COMMAND tar -t
                  OUTPUT_VARIABLE control_files)
  if(NOT control_files MATCHES "triggers")
    continue()
  endif()
  set(tree ${deb}.tree)
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND dpkg-deb -R ${deb} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group -b ${tree} ${deb}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${tree})
endforeach()
