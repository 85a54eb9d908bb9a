# qz_read_symbols(result nm library): the symbols of a library that have a section, each as "section|type|name" with the
# name demangled.
function(qz_read_symbols result nm library)
  execute_process(COMMAND ${nm} -C -f sysv ${library} OUTPUT_VARIABLE output RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "nm fails on ${library}")
  endif()
  string(REPLACE ";" "," lines "${output}")
  string(REPLACE "\n" ";" lines "${lines}")
  set(symbols)
  foreach(line IN LISTS lines)
    # name | value | class | type | size | line | section
    if(line MATCHES "^(.*[^ ]) *\\|[^|]*\\|[^|]*\\| *([A-Z]*)\\|[^|]*\\|[^|]*\\|(\\.[^|]*)$")
      list(APPEND symbols "${CMAKE_MATCH_3}|${CMAKE_MATCH_2}|${CMAKE_MATCH_1}")
    endif()
  endforeach()
  set(${result} "${symbols}" PARENT_SCOPE)
endfunction()
