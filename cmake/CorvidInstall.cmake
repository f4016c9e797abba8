# What other projects use: the shared libraries, the public headers, a CMake package and a pkg-config file. Three
# components, which are three packages: module, headers, tool.
include_guard()
include(CMakePackageConfigHelpers)

set(CORVID_CMAKE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/ConfigService)

# A module finds the platform beside itself, as the tool does.
if(NOT CORVID_FOR_DEBIAN)
  set_target_properties(platform configservice PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
set_target_properties(configservice_interfaces PROPERTIES EXPORT_NAME interfaces)
install(TARGETS contracts platform_api platform configservice_interfaces configservice
  EXPORT ConfigServiceTargets
  LIBRARY COMPONENT module NAMELINK_COMPONENT headers)
install(EXPORT ConfigServiceTargets
  NAMESPACE ConfigService:: DESTINATION ${CORVID_CMAKE_FOLDER} COMPONENT headers)

# What is public of the platform's implementation: what a host is put together from, with what that includes.
set(CORVID_HOST_HEADERS
  impl/http/CurlTransport.h
  impl/system/ConnectionList.h
  impl/system/ResetDataProviderImpl.h
  impl/system/SignalNotifier.h
  impl/system/SystemServiceImpl.h
  impl/unified/DlModuleLoader.h
  impl/unified/ServicesDispatcherImpl.h
  impl/unified/TaskDispatcherImpl.h
  impl/unified/ThreadPoolImpl.h)
foreach(header IN LISTS CORVID_HOST_HEADERS)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES platform/${header} DESTINATION ${CORVID_INSTALL_HEADERS}/${folder} COMPONENT headers)
endforeach()
install(DIRECTORY contracts/include/ platform/api/ services/configservice/include/
  DESTINATION ${CORVID_INSTALL_HEADERS} COMPONENT headers)
# The test that every store passes, for stores of other projects.
install(DIRECTORY services/configservice/testing DESTINATION ${CORVID_INSTALL_HEADERS} COMPONENT headers)

# Files that name the version, or where things lie.
set(CORVID_PAPERS ${CMAKE_CURRENT_BINARY_DIR}/packaging)
configure_file(packaging/ConfigServiceVersion.h.in ${CORVID_PAPERS}/ConfigServiceVersion.h @ONLY)
install(FILES ${CORVID_PAPERS}/ConfigServiceVersion.h DESTINATION ${CORVID_INSTALL_HEADERS} COMPONENT headers)

configure_package_config_file(packaging/ConfigServiceConfig.cmake.in ${CORVID_PAPERS}/ConfigServiceConfig.cmake
  INSTALL_DESTINATION ${CORVID_CMAKE_FOLDER})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(compatibility SameMinorVersion)
else()
  set(compatibility SameMajorVersion)
endif()
write_basic_package_version_file(${CORVID_PAPERS}/ConfigServiceConfigVersion.cmake COMPATIBILITY ${compatibility})
install(FILES ${CORVID_PAPERS}/ConfigServiceConfig.cmake ${CORVID_PAPERS}/ConfigServiceConfigVersion.cmake
  DESTINATION ${CORVID_CMAKE_FOLDER} COMPONENT headers)

file(RELATIVE_PATH CORVID_PC_TO_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" CORVID_PC_TO_PREFIX "${CORVID_PC_TO_PREFIX}")
set(CORVID_PC_DEFINITIONS "")
if(CMAKE_BUILD_TYPE STREQUAL Debug)
  set(CORVID_PC_DEFINITIONS " -DTESSEL_CHECKS_LOCK_ORDER")
endif()
configure_file(packaging/configservice.pc.in ${CORVID_PAPERS}/configservice.pc @ONLY)
install(FILES ${CORVID_PAPERS}/configservice.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT headers)
