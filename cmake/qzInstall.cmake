# find_package(qzCommonAddOns 3.0 CONFIG), from the build tree and from an installation alike.
include(CMakePackageConfigHelpers)

set(QZ_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qzCommonAddOns)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qzCommonAddOnsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qzCommonAddOnsConfig.cmake INSTALL_DESTINATION ${QZ_CONFIG_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qzCommonAddOnsConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)

install(TARGETS qzCommonAddOns EXPORT qzCommonAddOnsTargets FILE_SET HEADERS LIBRARY NAMELINK_COMPONENT Development)
install(FILES ${PROJECT_BINARY_DIR}/qzCommonAddOnsConfig.cmake
  ${PROJECT_BINARY_DIR}/qzCommonAddOnsConfigVersion.cmake DESTINATION ${QZ_CONFIG_DIR})

function(qz_export set namespace)
  install(EXPORT ${set} NAMESPACE ${namespace}:: DESTINATION ${QZ_CONFIG_DIR})
  export(EXPORT ${set} NAMESPACE ${namespace}:: FILE ${PROJECT_BINARY_DIR}/${set}.cmake)
endfunction()

qz_export(qzCommonAddOnsTargets qzCommonAddOns)
if(QZ_PLATFORM STREQUAL "bundled")
  qz_export(Wm4PlatformTargets Wm4)
  qz_export(qzPlatformTargets qz)
endif()
