# Settings that every target of the project shares: language level, warnings as errors,
# sanitizers, hidden visibility, the output folders (bin/, lib/ and share/ below the build folder,
# laid out as they are installed) and ccache where it is there.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

# Without these the cache passes over everything that a precompiled header goes into. What holds the
# time of the build is compiled without the cache.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(cached ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros
             CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${cached})
  set(CMAKE_C_COMPILER_LAUNCHER ${cached})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
  endif()
endif()

option(ORVXML_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
# GCC 12's optimiser sees overlaps and overruns in concatenations of std::string that are not there.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(project_options INTERFACE -Wno-array-bounds -Wno-restrict
                                                   -Wno-stringop-overflow)
endif()
# Clang counts changes of sign among the conversions.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(project_options INTERFACE -Wno-sign-conversion)
endif()
if(ORVXML_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# What runs for every row is worth the optimiser's last step.
function(optimise_fully target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:-O3>)
endfunction()
