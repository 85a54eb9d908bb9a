# cmake -DQZ_LIBRARY=... -DLIBRARY=<file> -DNM=... -P: a shared library has no writable data but what its expected.cmake
# names, so it keeps no other state between calls. What the compiler and the standard library put into every shared
# library is listed here.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/../support/qzSymbolTable.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/abi/${QZ_LIBRARY}/expected.cmake)
set(foreign
  __dso_handle __TMC_END__ "completed\\.[0-9]+" "object\\.[0-9]+" "dtor_idx\\.[0-9]+"  # start-up files
  __cpu_model __cpu_features2       # what the compiler's runtime knows about the processor
  "DW\\.ref\\.__gxx_personality_v0" # exceptions
  std::__ioinit)                    # <iostream>
list(JOIN foreign "|" foreign)

qz_read_symbols(symbols ${NM} ${LIBRARY})
set(own)
set(nbForeign 0)
foreach(symbol IN LISTS symbols)
  if(NOT symbol MATCHES "^\\.(data|bss|tdata|tbss)\\|(OBJECT|NOTYPE|TLS)\\|(.*)$")
    continue()
  endif()
  set(name "${CMAKE_MATCH_3}")
  if(name MATCHES "^(${foreign})$")
    math(EXPR nbForeign "${nbForeign} + 1")
  elseif(NOT name MATCHES "^(__bss_start|_edata|_end|__data_start|data_start)$")
    list(APPEND own "${name}")
  endif()
endforeach()
list(SORT own)
if(NOT "${own}" STREQUAL "${expectedState}")
  list(JOIN own "\n  " own)
  list(JOIN expectedState "\n  " expected)
  message(FATAL_ERROR "writable data:\n  ${own}\nexpected:\n  ${expected}")
endif()
if(nbForeign EQUAL 0)
  message(FATAL_ERROR "not even a start-up file's data in ${LIBRARY}: is it stripped?")
endif()
list(LENGTH own nbOwn)
message(STATUS "${nbOwn} variables, as expected, and ${nbForeign} symbols of the compiler and the standard library")
