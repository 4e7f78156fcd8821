cmake_minimum_required(VERSION 3.22)
# Checks that every source of one module includes headers only of its own
# module and of the modules below it, so that the module graph stays a
# strict order and a cycle fails the build. Run as a script:
#   cmake -DMODULE=archive -DBELOW=util,except -DROOT=<source dir> -DSTAMP=<file> -P layering.cmake
file(GLOB_RECURSE sources "${ROOT}/std/${MODULE}/*.h" "${ROOT}/std/${MODULE}/*.cpp")
string(REPLACE "," ";" below "${BELOW}")
set(allowed ${MODULE} ${below})
set(faults "")
foreach(src ${sources})
  file(STRINGS "${src}" includes REGEX "^#include \"std/[a-z0-9_]+/")
  foreach(line ${includes})
    string(REGEX REPLACE "^#include \"std/([a-z0-9_]+)/.*" "\\1" used "${line}")
    if(NOT used IN_LIST allowed)
      file(RELATIVE_PATH rel "${ROOT}" "${src}")
      string(APPEND faults "\n  ${rel}: ${line} (std/${MODULE} may use only: ${allowed})")
    endif()
  endforeach()
endforeach()
if(faults)
  message(FATAL_ERROR "module layering broken:${faults}")
endif()
file(WRITE "${STAMP}" "")
