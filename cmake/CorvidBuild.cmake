# Settings that every target shares: the language, the warnings, the sanitizers, the output folders.
include_guard()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# Paths below the source folder count relatively, so that a fresh clone finds what another has compiled; the sloppiness
# is what precompiled headers need.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env
    CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
    ${CCACHE_PROGRAM})
endif()

# Functions of libraries are looked up when a program starts, not at their first call: the loader would put what is in
# the vector registers then, a piece of a secret that has just been copied say, on the stack, where nobody wipes it.
add_link_options(-Wl,-z,relro -Wl,-z,now)

set(CORVID_SANITIZERS "" CACHE STRING "Sanitizers of this build, as -fsanitize takes them")
if(CORVID_SANITIZERS)
  add_compile_options(-fsanitize=${CORVID_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CORVID_SANITIZERS})
  # g++ warns that the sanitizer takes no notice of fences, such as Asio's, which stand beside locks; clang says nothing.
  if(CORVID_SANITIZERS STREQUAL thread AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options(-Wno-tsan)
  endif()
endif()

option(CORVID_COVERAGE "Count which lines and branches of the module are reached" OFF)

# A package is not moved, its libraries lie where the system looks for them, and it holds papers of its own.
option(CORVID_FOR_DEBIAN "Install as a Debian package wants it" OFF)

# Where headers go: in a folder of their own, since names such as "system/World.h" are not for everybody's path.
include(GNUInstallDirs)
set(CORVID_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/configservice)

# corvid_library_version(TARGET): its file says the project's version. Below 1.0.0 a minor version may break clients, so
# that what they are linked with is of the same one.
function(corvid_library_version target)
  if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  else()
    set(soversion ${PROJECT_VERSION_MAJOR})
  endif()
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${soversion})
endfunction()

# Links this project's own code with its warnings as errors. Apply to every target with sources of ours.
add_library(corvid_warnings INTERFACE)
# g++ 12 sees overlapping copies in the library's own string concatenation when it optimises (-Wrestrict, GCC bug 105651).
target_compile_options(corvid_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)

# Lets g++ and clang take precompiled headers in the way that ccache can follow.
add_library(corvid_precompiled INTERFACE)
target_compile_options(corvid_precompiled INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>
  $<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>)

# corvid_precompile(TARGET HEADERS...): parses the headers once for all files of the target: they are more than half of
# what a file costs. Not in the release build, so that every file is known to include what it needs.
function(corvid_precompile target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL Release)
    target_precompile_headers(${target} PRIVATE ${ARGN})
    target_link_libraries(${target} PRIVATE corvid_precompiled)
  endif()
endfunction()
