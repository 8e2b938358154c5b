# How every room of the tree is built: one target each, alike in warnings, language and include path.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

if(CORVANE_SANITIZE)
    add_compile_options(-fsanitize=${CORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${CORVANE_SANITIZE})
endif()

# What is released reads from networks: overflows, bad indices and overwritten tables stop it instead of serving an
# attacker. tests/packaging/check-hardening looks for all of it in the programs, check-macho in those that are
# built for macOS away from a Mac.
if(CMAKE_BUILD_TYPE STREQUAL Release AND NOT CORVANE_SANITIZE)
    add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    # The standard library's own checks: GNU's; LLVM's from 18 (Xcode 16) on; LLVM's 15 to 17, which later ones do not take.
    include(CheckCXXSourceCompiles)
    check_cxx_source_compiles("#include <cstddef>\n#ifndef _LIBCPP_HARDENING_MODE_FAST\n#error\n#endif\nint main() {}"
        CORVANE_LIBCXX_HAS_HARDENING)
    check_cxx_source_compiles("#include <cstddef>\n#if _LIBCPP_VERSION < 15000\n#error\n#endif\nint main() {}"
        CORVANE_LIBCXX_HAS_ASSERTIONS)
    if(CORVANE_LIBCXX_HAS_HARDENING)
        add_compile_definitions(_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_FAST)
    elseif(CORVANE_LIBCXX_HAS_ASSERTIONS)
        add_compile_definitions(_LIBCPP_ENABLE_ASSERTIONS=1)
    else()
        add_compile_definitions(_GLIBCXX_ASSERTIONS)
    endif()
    include(CheckPIESupported)
    check_pie_supported() # makes CMake link what is position independent as such
    if(NOT APPLE)
        add_link_options(-Wl,-z,relro -Wl,-z,now)
    endif()
endif()

if(CORVANE_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(corvane_warnings target)
    # GCC finds null pointers in Asio that cannot be, when it optimises: hence that warning in debug builds alone.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow=local -Wconversion
        -Wnon-virtual-dtor -Woverloaded-virtual $<$<CONFIG:Debug>:-Wnull-dereference>)
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
        target_compile_options(${target} PRIVATE -Wno-unknown-warning-option)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # Sees overlaps in the standard library's own strings when it optimises (GCC bug 105651).
        target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-Wno-restrict>)
    endif()
    if(CORVANE_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# corvane_room(NAME SOURCES ... [LINUX sources...] [MACOS sources...] [DEPENDS public...] [PRIVATE private...])
# A static library corvane_NAME with the alias corvane::NAME. Headers are included from the tree's top.
function(corvane_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;LINUX;MACOS;DEPENDS;PRIVATE" ${ARGN})
    if(APPLE)
        list(APPEND ROOM_SOURCES ${ROOM_MACOS})
    else()
        list(APPEND ROOM_SOURCES ${ROOM_LINUX})
    endif()
    add_library(corvane_${name} STATIC ${ROOM_SOURCES})
    add_library(corvane::${name} ALIAS corvane_${name})
    target_include_directories(corvane_${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(corvane_${name} PUBLIC ${ROOM_DEPENDS} PRIVATE ${ROOM_PRIVATE})
    corvane_warnings(corvane_${name})
endfunction()

# corvane_program(NAME SOURCES ... DEPENDS ...)
function(corvane_program name)
    cmake_parse_arguments(PROGRAM "" "" "SOURCES;DEPENDS" ${ARGN})
    add_executable(${name} ${PROGRAM_SOURCES})
    target_link_libraries(${name} PRIVATE ${PROGRAM_DEPENDS})
    corvane_warnings(${name})
endfunction()

# The headers that nearly every test includes, compiled once: a quarter of the tests' time in the compiler. Not with ccache,
# which does better without, nor with Qt's tests, whose flags differ, nor with clang, which wants the same definitions.
function(corvane_precompiled_headers test)
    if(CMAKE_CXX_COMPILER_LAUNCHER OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU" OR Qt6::Test IN_LIST ARGN)
        return()
    endif()
    get_property(owner GLOBAL PROPERTY corvane_owner_of_headers)
    if(owner)
        target_precompile_headers(${test} REUSE_FROM ${owner})
    else()
        set_property(GLOBAL PROPERTY corvane_owner_of_headers ${test})
        target_precompile_headers(${test} PRIVATE <gmock/gmock.h> <gtest/gtest.h> <chrono> <filesystem> <fstream>
            <functional> <memory> <optional> <sstream> <string> <vector>)
    endif()
endfunction()

# corvane_test(NAME SOURCES ... DEPENDS ... [TIMEOUT seconds] [RESOURCE_LOCK name] [LABELS ...])
# One GoogleTest program whose every test is a test of ctest, in a process of its own; a sanitizer has five times as
# long. Of those that name the same lock one runs at a time; where ctest has no times of an earlier
# run they are begun first.
function(corvane_test name)
    cmake_parse_arguments(TEST "" "TIMEOUT;RESOURCE_LOCK" "SOURCES;DEPENDS;LABELS" ${ARGN})
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 60)
    endif()
    if(CORVANE_SANITIZE) # ten times as slow, and a program's memory may be many times as large
        math(EXPR TEST_TIMEOUT "${TEST_TIMEOUT} * 5")
    endif()
    set(lock)
    if(TEST_RESOURCE_LOCK)
        set(lock RESOURCE_LOCK ${TEST_RESOURCE_LOCK} COST 1)
    endif()
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE ${TEST_DEPENDS} corvane::test_support GTest::gmock GTest::gtest_main)
    corvane_warnings(${name})
    corvane_precompiled_headers(${name} ${TEST_DEPENDS})
    # Lines for a debugger, but no variables: a fifth of the tests' time in the compiler.
    target_compile_options(${name} PRIVATE $<$<CONFIG:Debug>:-g1>)
    gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${TEST_TIMEOUT} ${lock} LABELS "${TEST_LABELS}")
endfunction()

# corvane_script_test(NAME COMMAND ... [NEEDS program...] [TIMEOUT seconds] [LABELS ...] [PROPERTIES ...])
# A test that is a script. It is always there: where a program is missing that it needs it is skipped and says so.
function(corvane_script_test name)
    cmake_parse_arguments(TEST "" "TIMEOUT" "COMMAND;NEEDS;LABELS;PROPERTIES" ${ARGN})
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 60)
    endif()
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/support/needs ${TEST_NEEDS} -- ${TEST_COMMAND})
    set_tests_properties(${name} PROPERTIES LABELS "${TEST_LABELS}" TIMEOUT ${TEST_TIMEOUT} SKIP_RETURN_CODE 77
        ${TEST_PROPERTIES})
endfunction()
