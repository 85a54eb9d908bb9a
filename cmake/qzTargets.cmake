# Two usage requirements that the project's own targets link privately.
#
# A library that gets exported takes their options by qz_compile_with instead: a static library hands its private links
# on to whoever uses it, and these two are nothing to install.

# Arithmetic that no flag set changes: no contraction, no reassociation, NaN and signed zeros kept. Whatever computes
# results links this; it comes after the caller's flags on the command line and so wins over them.
add_library(qzArithmetic INTERFACE)
target_compile_options(qzArithmetic INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-fno-fast-math;-ffp-contract=off>
  $<$<CXX_COMPILER_ID:MSVC>:/fp:precise>)
target_link_options(qzArithmetic INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-fast-math>)  # no flush-to-zero at load

add_library(qzWarnings INTERFACE)
target_compile_options(qzWarnings INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Wall;-Wextra;-Wpedantic;-Wshadow;-Wnon-virtual-dtor;-Wold-style-cast>
  $<$<AND:$<BOOL:${QZ_WARNINGS_AS_ERRORS}>,$<CXX_COMPILER_ID:GNU,Clang,AppleClang>>:-Werror>)

# qz_compile_with(target usage...): compiles and links target with the options of the usages, without linking them.
function(qz_compile_with target)
  foreach(usage IN LISTS ARGN)
    target_compile_options(${target} PRIVATE $<TARGET_PROPERTY:${usage},INTERFACE_COMPILE_OPTIONS>)
    target_link_options(${target} PRIVATE $<TARGET_PROPERTY:${usage},INTERFACE_LINK_OPTIONS>)
  endforeach()
endfunction()

# Installed libraries find one another in their own directory.
if(APPLE)
  set(QZ_LIBRARY_RPATH @loader_path)
else()
  set(QZ_LIBRARY_RPATH $ORIGIN)
endif()
