# cmake -DLIBRARY=... -DNM=... -P: a shared library has no writable data of its own, so it keeps no state between calls.
# What the compiler and the standard library put into every shared library is listed here.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
set(foreign
  __dso_handle __TMC_END__ "completed\\.[0-9]+" "object\\.[0-9]+" "dtor_idx\\.[0-9]+"  # start-up files
  __cpu_model __cpu_features2       # what the compiler's runtime knows about the processor
  "DW\\.ref\\.__gxx_personality_v0" # exceptions
  std::__ioinit)                    # <iostream>
list(JOIN foreign "|" foreign)

qz_run(${NM} -C -f sysv ${LIBRARY})
string(REPLACE ";" "," lines "${QZ_OUTPUT}")
string(REPLACE "\n" ";" lines "${lines}")
set(own)
set(nbForeign 0)
foreach(line IN LISTS lines)
  # name | value | class | type | size | line | section
  if(NOT line MATCHES "^(.*[^ ]) *\\|[^|]*\\|[^|]*\\| *(OBJECT|NOTYPE|TLS)\\|[^|]*\\|[^|]*\\|\\.(data|bss|tdata|tbss)$")
    continue()
  endif()
  set(name "${CMAKE_MATCH_1}")
  if(name MATCHES "^(${foreign})$")
    math(EXPR nbForeign "${nbForeign} + 1")
  elseif(NOT name MATCHES "^(__bss_start|_edata|_end|__data_start|data_start)$")
    list(APPEND own "${name}")
  endif()
endforeach()
if(own)
  list(JOIN own "\n  " own)
  message(FATAL_ERROR "writable data:\n  ${own}")
endif()
if(nbForeign EQUAL 0)
  message(FATAL_ERROR "not even a start-up file's data in ${LIBRARY}: is it stripped?\n${QZ_OUTPUT}")
endif()
message(STATUS "no writable data but ${nbForeign} symbols of the compiler and the standard library")
