# Three Debian packages, which "cpack" makes: the module with the platform's library, the headers, the tool.
include_guard()

set(CORVID_MAINTAINER "Corvid developers <developers@corvid.example.org>" CACHE STRING "Maintainer of the Debian packages")
set(CORVID_MODULE_PACKAGE corvid-configservice)
set(CORVID_HEADERS_PACKAGE corvid-configservice-dev)
set(CORVID_TOOL_PACKAGE corvidctl)

# What Debian wants to find beside each package. Honours SOURCE_DATE_EPOCH.
string(TIMESTAMP CORVID_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
function(corvid_debian_papers component package)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/packaging/${package})
  set(CORVID_PACKAGE ${package})
  configure_file(packaging/debian/changelog.in ${folder}/changelog @ONLY)
  execute_process(COMMAND gzip -9nfk ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${folder}/changelog.gz packaging/debian/copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endfunction()

if(CORVID_FOR_DEBIAN)
  corvid_debian_papers(module ${CORVID_MODULE_PACKAGE})
  corvid_debian_papers(headers ${CORVID_HEADERS_PACKAGE})
  corvid_debian_papers(tool ${CORVID_TOOL_PACKAGE})
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvid-configservice)
set(CPACK_PACKAGE_CONTACT "${CORVID_MAINTAINER}")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL module headers tool)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_MODULE_PACKAGE_NAME ${CORVID_MODULE_PACKAGE})
set(CPACK_DEBIAN_MODULE_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_MODULE_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_COMPONENT_MODULE_DESCRIPTION "layered configuration for a desktop client
The configuration service answers for a whole client: what is the value of a
key, who set it, and has it changed? Answers come from a chain of stores, from
the user's file and the server's to the installation's defaults.
This package holds the module that a host loads, and the host framework.")

set(CPACK_DEBIAN_HEADERS_PACKAGE_NAME ${CORVID_HEADERS_PACKAGE})
set(CPACK_DEBIAN_HEADERS_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_HEADERS_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_HEADERS_PACKAGE_DEPENDS
  "${CORVID_MODULE_PACKAGE} (= ${PROJECT_VERSION}), libboost-dev (>= 1.74), libxml2-dev")
set(CPACK_COMPONENT_HEADERS_DESCRIPTION "layered configuration for a desktop client (development files)
The configuration service answers for a whole client: what is the value of a
key, who set it, and has it changed?
This package holds what modules and hosts are built with: the public headers, a
CMake package and a pkg-config file.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ${CORVID_TOOL_PACKAGE})
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${CORVID_MODULE_PACKAGE} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "look into the configuration of a Corvid client
For administrators and support engineers: corvidctl tells which value each key
has, which store it comes from and why, changes it, tries changes out, fetches
the server's file, and serves a page that shows all of it as it happens.")

include(CPack)
