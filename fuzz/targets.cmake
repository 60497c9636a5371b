# The fuzz targets and the subsystems each needs; shared by fuzz/ (libFuzzer binaries)
# and tests/fuzz/ (corpus replay). utility_fuzz_targets(<var>) sets <var> to the names of
# the targets whose subsystems are all being built.
set(LIBUTILITY_FUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})
set(LIBUTILITY_FUZZ_TARGET_NEEDS
  "variant_xml:variant"
  "unzip:archive"
  "file_handler:files"
  "image_loader:imaging"
  "recogniser:recognition,geometry"
  "ink_reader:ink")

function(utility_fuzz_targets out)
  set(names)
  foreach(entry IN LISTS LIBUTILITY_FUZZ_TARGET_NEEDS)
    string(REPLACE ":" ";" parts "${entry}")
    list(GET parts 0 name)
    list(GET parts 1 needs)
    string(REPLACE "," ";" needs "${needs}")
    set(available TRUE)
    foreach(subsystem IN LISTS needs)
      if(NOT subsystem IN_LIST LIBUTILITY_SUBSYSTEMS)
        set(available FALSE)
      endif()
    endforeach()
    if(available)
      list(APPEND names ${name})
    endif()
  endforeach()
  set(${out} ${names} PARENT_SCOPE)
endfunction()
