# Builds for macOS on another system: presets macos-cross and macos-cross-x86_64. cmake/macos/prepare puts the compiler and
# the headers into a cache; what the system's own libraries export stands in the folder sdk beside this file.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 22) # macOS 13
set(CORVANE_MACOS_ARCHITECTURE arm64 CACHE STRING "What to build for: arm64 or x86_64")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CORVANE_MACOS_ARCHITECTURE)
set(CMAKE_SYSTEM_PROCESSOR ${CORVANE_MACOS_ARCHITECTURE})

if(DEFINED ENV{CORVANE_MACOS_KIT})
    set(kit $ENV{CORVANE_MACOS_KIT})
elseif(DEFINED ENV{XDG_CACHE_HOME})
    set(kit $ENV{XDG_CACHE_HOME}/corvane-macos)
else()
    set(kit $ENV{HOME}/.cache/corvane-macos)
endif()
set(compiler ${kit}/bin/${CORVANE_MACOS_ARCHITECTURE}-macos-clang)
if(NOT EXISTS ${compiler}++)
    message(FATAL_ERROR "There is no compiler for macOS in ${kit}: run cmake/macos/prepare first.")
endif()

set(CMAKE_C_COMPILER ${compiler}) # GoogleTest asks for one
set(CMAKE_CXX_COMPILER ${compiler}++)
set(CMAKE_OBJCXX_COMPILER ${compiler}++)
find_program(CMAKE_AR NAMES llvm-ar-14 llvm-ar REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib-14 llvm-ranlib REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool-14 llvm-install-name-tool REQUIRED)

set(sdk ${CMAKE_CURRENT_LIST_DIR}/sdk)
set(CMAKE_OSX_SYSROOT "") # the compiler has its own
set(CMAKE_FIND_ROOT_PATH ${kit} ${sdk})
foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# The compiler's checks for undefined behaviour would come without being asked for.
get_filename_component(top ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
set(CMAKE_CXX_FLAGS_INIT "-fno-sanitize=undefined")
set(CMAKE_OBJCXX_FLAGS_INIT "-fno-sanitize=undefined -fblocks -fobjc-runtime=macosx-13.0 -Wno-unused-command-line-argument -isystem ${top}/tests/macos/stubs")
# -S: the folders of this machine that objects are in do not get into programs.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-F ${sdk}/System/Library/Frameworks -L${sdk}/usr/lib -Wl,-S")

set(CORVANE_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest for the target")
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST) # they do not run here
