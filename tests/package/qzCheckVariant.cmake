# cmake -DSOURCE=... -DVARIANT=... -DFLAGS=... -DINCLUDES=... -DNM=... -DWORK=... -P: a source compiled for certain
# processors has no weak symbols that other objects could share. A weak symbol is one of several copies, of which
# the linker keeps any: it must belong to the variant's namespace, or an old processor may run that copy. Optimised code
# has few such symbols, so the source is compiled without optimisation.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
file(MAKE_DIRECTORY ${WORK})
string(LENGTH ${VARIANT} length)
foreach(level -O0 -O2)
  set(object ${WORK}/variant${level}.o)
  qz_run(${QZ_CXX_COMPILER} -std=c++17 ${level} ${FLAGS} ${INCLUDES} -c ${SOURCE} -o ${object})
  qz_run(${NM} --defined-only ${object})
  string(REGEX MATCHALL "(^|\n)[0-9a-f]+ [WwVvu] [^\n]*" symbols "${QZ_OUTPUT}")
  string(REPLACE "\n" "" symbols "${symbols}")
  list(LENGTH symbols nbSymbols)
  if(level STREQUAL "-O0" AND nbSymbols EQUAL 0)
    message(FATAL_ERROR "no weak symbol in ${object}, not even the variant's own:\n${QZ_OUTPUT}")
  endif()
  # Members of the namespace.
  list(FILTER symbols EXCLUDE REGEX "^[0-9a-f]+ . _Z(Z|GV)*NK?(8qzDetail|9qzToolkit)${length}${VARIANT}")
  if(symbols)
    list(JOIN symbols "\n  " symbols)
    message(FATAL_ERROR "weak symbols at ${level} that do not belong to ${VARIANT}:\n  ${symbols}")
  endif()
endforeach()
message(STATUS "${nbSymbols} weak symbols, all of ${VARIANT}")
