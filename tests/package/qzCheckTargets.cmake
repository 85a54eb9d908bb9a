# cmake -DSOURCE=... -DFLAGS=... -DOBJDUMP=... -DWORK=... -P: in a source that Highway compiles for several instruction
# sets, functions outside of the sets' namespaces, N_AVX2 and so on, use none of them. The linker may keep such a function
# for all objects, and every processor runs it. Optimised code has few such functions, so the source is compiled without
# optimisation.
include(${CMAKE_CURRENT_LIST_DIR}/qzNested.cmake)
file(MAKE_DIRECTORY ${WORK})
set(object ${WORK}/walks.o)
qz_run(${QZ_CXX_COMPILER} -std=c++17 -O0 ${FLAGS} -c ${SOURCE} -o ${object})

# Prints the names of such functions with instructions of AVX and later, or what SSE3 to SSE4.2 have added, to the error
# stream; then how many functions are looked at, and how many of these instructions are in the namespaces.
execute_process(COMMAND ${OBJDUMP} --disassemble --no-show-raw-insn ${object}
  COMMAND awk [[
    /^[0-9a-f]+ <.*>:$/ {
      name = $2
      isShared = name !~ /[0-9]N_[A-Z]+[0-9]*/
      nbShared += isShared
      next
    }
    $2 ~ /^v/ || /[%][yz]mm|[%]k[0-7]/ || $2 ~ /^(pabs|palignr|pshufb|psign|h(add|sub)p|mov(s[hl]|d)dup|pblend|blend)/ ||
    $2 ~ /^(round[sp]|dpp|insertps|extractps|pextr[bdq]|pinsr[bdq]|pmov[sz]x|ptest|pcmp(eq|gt)q|popcnt|crc32)/ ||
    $2 ~ /^p(mul(ld|dq)|(min|max)(sb|sd|ud|uw))$/ {
      if (isShared) print name " " $2 > "/dev/stderr"
      else ++nbOwn
    }
    END { print nbShared + 0 " " nbOwn + 0 }]]
  OUTPUT_VARIABLE counts ERROR_VARIABLE found RESULTS_VARIABLE results)
if(NOT results STREQUAL "0;0" OR NOT counts MATCHES "^([0-9]+) ([0-9]+)\n$")
  message(FATAL_ERROR "objdump and awk ended with ${results}: ${counts}${found}")
endif()
if(CMAKE_MATCH_1 EQUAL 0 OR CMAKE_MATCH_2 LESS 100)
  message(FATAL_ERROR
    "${CMAKE_MATCH_1} functions for all processors, ${CMAKE_MATCH_2} instructions of the sets: these are too few")
endif()
if(found)
  message(FATAL_ERROR "functions that every processor runs, with instructions that not all have:\n${found}")
endif()
message(STATUS "${CMAKE_MATCH_1} functions for all processors, and ${CMAKE_MATCH_2} instructions of the sets, none in them")
