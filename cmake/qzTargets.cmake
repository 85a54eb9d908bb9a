# Two sets of usage requirements, which the project's own targets link privately.
#
# Exported libraries take the options by qz_compile_with instead: a static library's private links become part of its
# export, and these two are not installed.

# Arithmetic that other flags do not change: no contraction, no reassociation, NaN and signed zeros kept. Whatever
# computes results links this. Its options follow CMAKE_CXX_FLAGS on the command line and so override them.
add_library(qzArithmetic INTERFACE)
target_compile_options(qzArithmetic INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-fno-fast-math;-ffp-contract=off>
  $<$<CXX_COMPILER_ID:MSVC>:/fp:precise>)
target_link_options(qzArithmetic INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-fast-math>)  # no flush-to-zero at load

add_library(qzWarnings INTERFACE)
target_compile_options(qzWarnings INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Wall;-Wextra;-Wpedantic;-Wshadow;-Wnon-virtual-dtor;-Wold-style-cast>
  $<$<AND:$<BOOL:${QZ_WARNINGS_AS_ERRORS}>,$<CXX_COMPILER_ID:GNU,Clang,AppleClang>>:-Werror>)

# qz_compile_with(target requirements...): gives target their compile and link options, without linking them.
function(qz_compile_with target)
  foreach(usage IN LISTS ARGN)
    target_compile_options(${target} PRIVATE $<TARGET_PROPERTY:${usage},INTERFACE_COMPILE_OPTIONS>)
    target_link_options(${target} PRIVATE $<TARGET_PROPERTY:${usage},INTERFACE_LINK_OPTIONS>)
  endforeach()
endfunction()

# Installed libraries look for each other in their own directory.
if(APPLE)
  set(QZ_LIBRARY_RPATH @loader_path)
else()
  set(QZ_LIBRARY_RPATH $ORIGIN)
endif()
