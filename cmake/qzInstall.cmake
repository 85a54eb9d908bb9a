# Installation. Projects find each library by find_package, in a build tree as well, and by pkg-config.
#
# There are five components. Library (shared libraries) and Development (headers, static libraries, files for CMake and
# pkg-config) are those of qzCommonAddOns and the stand-ins, MeshLibrary and MeshDevelopment those of qzMeshQueries. The
# fifth is Program. A shared and a static build can be installed to the same prefix.
include(CMakePackageConfigHelpers)

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

# qz_install(target export COMPONENTS prefix DESCRIPTION text [REQUIRES module...] [PRIVATE module...]
#            [LIBRARIES flag...] [STATIC_FLAGS flag...]): installs a library and its headers as part of that export, in the
# components whose names begin with that prefix, and a pkg-config file of its name.
#   REQUIRES      modules whose headers its headers include
#   PRIVATE       modules of this project that it is linked with besides
#   LIBRARIES     other libraries that a static library needs. Not as modules: pkg-config would want their files for a
#                 shared library as well.
#   STATIC_FLAGS  of compilations that use the static library
# Sibling libraries that are not bundled have their own files.
function(qz_install target export)
  cmake_parse_arguments(ARG "" "COMPONENTS;DESCRIPTION" "REQUIRES;PRIVATE;LIBRARIES;STATIC_FLAGS" ${ARGN})
  install(TARGETS ${target} EXPORT ${export}
    RUNTIME COMPONENT ${ARG_COMPONENTS}Library
    LIBRARY COMPONENT ${ARG_COMPONENTS}Library NAMELINK_COMPONENT ${ARG_COMPONENTS}Development
    ARCHIVE COMPONENT ${ARG_COMPONENTS}Development
    FILE_SET HEADERS COMPONENT ${ARG_COMPONENTS}Development)
  set(QZ_PC_NAME ${target})
  set(QZ_PC_DESCRIPTION "${ARG_DESCRIPTION}")
  get_target_property(QZ_PC_VERSION ${target} VERSION)
  list(JOIN ARG_REQUIRES " " QZ_PC_REQUIRES)
  list(JOIN ARG_PRIVATE " " QZ_PC_PRIVATE)
  list(JOIN ARG_STATIC_FLAGS " " QZ_PC_STATIC_FLAGS)
  list(JOIN ARG_LIBRARIES " " QZ_PC_LIBRARIES)
  string(APPEND QZ_PC_LIBRARIES " ${QZ_PC_LANGUAGE_LIBRARIES}")
  string(STRIP "${QZ_PC_LIBRARIES}" QZ_PC_LIBRARIES)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/qzPkgConfig.pc.in ${PROJECT_BINARY_DIR}/${target}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT ${ARG_COMPONENTS}Development)
endfunction()

# qz_package(name prefix dependencies export namespace...): what find_package reads, in the development component with
# that prefix. The version is that of the target of this name; dependencies is the text that finds other packages. Each
# export becomes a file for this kind of library, of which the package includes those of one kind.
function(qz_package package components dependencies)
  set(destination ${CMAKE_INSTALL_LIBDIR}/cmake/${package})
  set(pairs ${ARGN})
  while(pairs)
    list(POP_FRONT pairs export namespace)
    set(file ${export}-${QZ_KIND}.cmake)
    install(EXPORT ${export} NAMESPACE ${namespace}:: DESTINATION ${destination} FILE ${file}
      COMPONENT ${components}Development)
    export(EXPORT ${export} NAMESPACE ${namespace}:: FILE ${PROJECT_BINARY_DIR}/${file})
  endwhile()

  set(QZ_PACKAGE ${package})
  set(QZ_PACKAGE_DEPENDENCIES "${dependencies}")
  set(config ${PROJECT_BINARY_DIR}/${package}Config)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qzPackageConfig.cmake.in ${config}.cmake
    INSTALL_DESTINATION ${destination})
  get_target_property(version ${package} VERSION)
  write_basic_package_version_file(${config}Version.cmake VERSION ${version} COMPATIBILITY SameMajorVersion)
  install(FILES ${config}.cmake ${config}Version.cmake DESTINATION ${destination} COMPONENT ${components}Development)
endfunction()

qz_install(qzCommonAddOns qzCommonAddOns DESCRIPTION "${PROJECT_DESCRIPTION}"
  REQUIRES qzSceneGraph qzSystem Wm4Foundation STATIC_FLAGS -DQZ_COMMONADDONS_STATIC)
if(QZ_PLATFORM STREQUAL "bundled")
  qz_install(Wm4Foundation Wm4Platform DESCRIPTION "Vectors and boxes, a stand-in for the foundation library")
  qz_install(qzSceneGraph qzPlatform DESCRIPTION "Triangle meshes, a stand-in for the scene library"
    REQUIRES Wm4Foundation)
  qz_install(qzSystem qzPlatform DESCRIPTION "Log records, a stand-in for the system library")
  qz_package(qzCommonAddOns "" [[
# The stand-ins for the sibling libraries, which are installed beside this file.
include("${CMAKE_CURRENT_LIST_DIR}/Wm4Platform-${qzCommonAddOns_KIND}.cmake")
include("${CMAKE_CURRENT_LIST_DIR}/qzPlatform-${qzCommonAddOns_KIND}.cmake")]]
    Wm4Platform Wm4 qzPlatform qz qzCommonAddOns qzCommonAddOns)
else()
  qz_package(qzCommonAddOns "" [[
find_dependency(Wm4Foundation CONFIG)
find_dependency(qzSceneGraph CONFIG)
find_dependency(qzSystem CONFIG)]]
    qzCommonAddOns qzCommonAddOns)
endif()

if(QZ_BUILD_MESHQUERIES)
  qz_install(qzMeshQueries qzMeshQueries COMPONENTS Mesh DESCRIPTION "Answers questions about a triangle mesh"
    REQUIRES qzSceneGraph PRIVATE qzCommonAddOns LIBRARIES -ltbb -lhwy STATIC_FLAGS -DQZ_MESHQUERIES_STATIC)
  qz_package(qzMeshQueries Mesh [[
# qzCommonAddOns brings the sibling library whose cancel interface a build polls. It is beside this package.
find_dependency(qzCommonAddOns 3.0 CONFIG COMPONENTS ${qzMeshQueries_KIND}
  HINTS "${CMAKE_CURRENT_LIST_DIR}" "${CMAKE_CURRENT_LIST_DIR}/../qzCommonAddOns")
if(qzMeshQueries_KIND STREQUAL "static")
  find_dependency(TBB)
  find_dependency(hwy)
endif()]]
    qzMeshQueries qzMeshQueries)
endif()
