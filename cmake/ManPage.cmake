# cmake -DREADME=<README.md> -DPROGRAM=<name> -DVERSION=<x.y.z> -DPANDOC=<pandoc>
#       -DOUTPUT=<name.1.gz> -P ManPage.cmake
# The manual of a program is kept once, as the section "### <name>(1)" of the README;
# this script cuts that section out and renders it as a compressed man page with pandoc.
# Its "#### NAME", "#### SYNOPSIS", ... headings become the page's sections.
file(STRINGS ${README} lines ENCODING UTF-8)
set(inside FALSE)
set(body "")
foreach(line IN LISTS lines)
  if(line MATCHES "^### ${PROGRAM}\\(1\\)$")
    set(inside TRUE)
    continue()
  elseif(inside AND line MATCHES "^##?#? ")
    break()
  endif()
  if(inside)
    string(REGEX REPLACE "^####" "#" line "${line}")
    string(APPEND body "${line}\n")
  endif()
endforeach()
if(body STREQUAL "")
  message(FATAL_ERROR "${README} has no section \"### ${PROGRAM}(1)\"")
endif()
# file(STRINGS) drops the brackets' escaping of semicolons; restore list separators.
string(REPLACE "\\;" ";" body "${body}")
string(TOUPPER ${PROGRAM} title)
get_filename_component(page ${OUTPUT} NAME_WLE)
set(markdown ${OUTPUT}.md)
file(WRITE ${markdown} "${body}")
execute_process(
  COMMAND ${PANDOC} --from markdown --to man --standalone
          --metadata title=${title} --metadata section=1
          --metadata "header=User Commands" --metadata "footer=libutility ${VERSION}"
          --output ${OUTPUT}.tmp ${markdown}
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "pandoc failed on the manual of ${PROGRAM}")
endif()
# gzip -n: no name or time stamp in the header, so that the page is reproducible.
execute_process(COMMAND gzip -9nc ${OUTPUT}.tmp OUTPUT_FILE ${OUTPUT} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "gzip failed on ${OUTPUT}")
endif()
file(REMOVE ${markdown} ${OUTPUT}.tmp)
