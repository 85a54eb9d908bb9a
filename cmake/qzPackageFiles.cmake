# Runs within cpack when the components stand in their folders: adds what Debian asks every package to have.
function(qz_run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
  string(TOUPPER ${component} upper)
  set(name ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})

  set(documents ${root}/share/doc/${name})
  file(COPY ${CPACK_QZ_DEBIAN_DIR}/copyright ${CPACK_QZ_DEBIAN_DIR}/changelog DESTINATION ${documents}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  if(EXISTS ${CPACK_QZ_DEBIAN_DIR}/${name}.lintian-overrides)
    file(MAKE_DIRECTORY ${root}/share/lintian/overrides)
    file(COPY_FILE ${CPACK_QZ_DEBIAN_DIR}/${name}.lintian-overrides ${root}/share/lintian/overrides/${name})
  endif()

  file(GLOB manuals ${root}/share/man/man?/*.?)
  foreach(file IN LISTS manuals ITEMS ${documents}/changelog)
    qz_run(gzip -9n ${file})
  endforeach()
  file(GLOB programs ${root}/bin/*)
  file(GLOB_RECURSE libraries ${root}/lib/*.so.*.*.*)
  file(GLOB_RECURSE archives ${root}/lib/*.a)
  set(strip strip --remove-section=.comment --remove-section=.note)
  foreach(file IN LISTS programs libraries)
    qz_run(${strip} --strip-unneeded ${file})
  endforeach()
  foreach(file IN LISTS archives)
    qz_run(${strip} --strip-debug --enable-deterministic-archives ${file})
  endforeach()
endforeach()

# The same files make the same packages.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  qz_run(find ${CPACK_TEMPORARY_DIRECTORY} -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +)
endif()
