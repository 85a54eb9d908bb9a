# Installation. Projects find the library by find_package(qzCommonAddOns 3.0 CONFIG), in a build tree as well, and by
# pkg-config.
#
# There are three components: Library (shared libraries), Development (headers, static libraries, files for CMake and
# pkg-config) and Program. A shared and a static build can be installed to the same prefix.
include(CMakePackageConfigHelpers)

set(QZ_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qzCommonAddOns)
if(BUILD_SHARED_LIBS)
  set(QZ_KIND shared)
else()
  set(QZ_KIND static)
endif()

# pkg-config files name paths relative to their own, so an installation can be moved.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(QZ_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" up ${up})
  set(QZ_PC_PREFIX "\${pcfiledir}/${up}")
endif()
cmake_path(APPEND QZ_PC_LIBDIR "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND QZ_PC_INCLUDEDIR "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})

# The C++ runtime libraries, which the user of a static library has to link.
set(QZ_PC_LANGUAGE_LIBRARIES ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER QZ_PC_LANGUAGE_LIBRARIES INCLUDE REGEX "^(stdc\\+\\+|c\\+\\+|m)$")
list(TRANSFORM QZ_PC_LANGUAGE_LIBRARIES PREPEND -l)
list(JOIN QZ_PC_LANGUAGE_LIBRARIES " " QZ_PC_LANGUAGE_LIBRARIES)

# qz_install(target export description requirement...): installs a library and its headers as part of that export, and
# a pkg-config file of its name, which requires the others. Sibling libraries that are not bundled have their own files.
function(qz_install target export description)
  install(TARGETS ${target} EXPORT ${export}
    RUNTIME COMPONENT Library
    LIBRARY COMPONENT Library NAMELINK_COMPONENT Development
    ARCHIVE COMPONENT Development
    FILE_SET HEADERS COMPONENT Development)
  set(QZ_PC_NAME ${target})
  set(QZ_PC_DESCRIPTION "${description}")
  get_target_property(QZ_PC_VERSION ${target} VERSION)
  list(JOIN ARGN " " QZ_PC_REQUIRES)
  set(QZ_PC_STATIC_FLAGS)
  if(target STREQUAL "qzCommonAddOns")
    set(QZ_PC_STATIC_FLAGS -DQZ_COMMONADDONS_STATIC)
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/qzPkgConfig.pc.in ${PROJECT_BINARY_DIR}/${target}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endfunction()

# qz_export(export namespace): a file for this kind of library. The package includes that of one kind.
function(qz_export export namespace)
  set(file ${export}-${QZ_KIND}.cmake)
  install(EXPORT ${export} NAMESPACE ${namespace}:: DESTINATION ${QZ_CONFIG_DIR} FILE ${file} COMPONENT Development)
  export(EXPORT ${export} NAMESPACE ${namespace}:: FILE ${PROJECT_BINARY_DIR}/${file})
endfunction()

qz_install(qzCommonAddOns qzCommonAddOns "${PROJECT_DESCRIPTION}" qzSceneGraph qzSystem Wm4Foundation)
qz_export(qzCommonAddOns qzCommonAddOns)
if(QZ_PLATFORM STREQUAL "bundled")
  qz_install(Wm4Foundation Wm4Platform "Vectors and boxes, a stand-in for the foundation library")
  qz_install(qzSceneGraph qzPlatform "Triangle meshes, a stand-in for the scene library" Wm4Foundation)
  qz_install(qzSystem qzPlatform "Log records, a stand-in for the system library")
  qz_export(Wm4Platform Wm4)
  qz_export(qzPlatform qz)
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qzCommonAddOnsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qzCommonAddOnsConfig.cmake INSTALL_DESTINATION ${QZ_CONFIG_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qzCommonAddOnsConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qzCommonAddOnsConfig.cmake ${PROJECT_BINARY_DIR}/qzCommonAddOnsConfigVersion.cmake
  DESTINATION ${QZ_CONFIG_DIR} COMPONENT Development)
