# Two usage requirements that the project's own targets link privately.

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
