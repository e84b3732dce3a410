# How this project makes a library, a program and a test binary.

file(RELATIVE_PATH quillmore_way_up ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
string(REGEX REPLACE "/$" "" quillmore_way_up "${quillmore_way_up}")

# What the programs that ship are hardened with, as far as the compiler knows it.
include(CheckCXXCompilerFlag)
set(quillmore_hardening -fstack-protector-strong -D_GLIBCXX_ASSERTIONS
    $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
foreach(flag -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "QUILLMORE_HAVE${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
        list(APPEND quillmore_hardening ${flag})
    endif()
endforeach()

# Flags of our own code. The bundle's programs must not die of a stack smash silently, and the helper
# runs as root: hardening is on everywhere.
function(quillmore_flags target)
    target_include_directories(${target} PUBLIC ${CMAKE_SOURCE_DIR})
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion ${quillmore_hardening}
        # Assertion lines name a source as the repository does, wherever the build folder is, also
        # when a compiler cache shortens the paths that it was given.
        -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/= -fmacro-prefix-map=${quillmore_way_up}/=
        $<$<BOOL:${QUILLMORE_WARNINGS_ARE_ERRORS}>:-Werror>)
endfunction()

# quillmore_headers(NAME HEADER...): these headers, compiled once for all targets that reuse NAME. Every
# source includes what it needs all the same: CMAKE_DISABLE_PRECOMPILE_HEADERS builds without.
function(quillmore_headers name)
    file(TOUCH ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    quillmore_flags(${name})
    target_precompile_headers(${name} PRIVATE ${ARGN})
endfunction()
quillmore_headers(library_headers
    <algorithm> <array> <charconv> <chrono> <functional> <map> <memory> <mutex> <optional> <string>
    <string_view> <vector>)

# quillmore_library(NAME [SOURCE...]): a library; folders add theirs by quillmore_sources.
function(quillmore_library name)
    add_library(${name} STATIC ${ARGN})
    quillmore_flags(${name})
    target_precompile_headers(${name} REUSE_FROM library_headers)
endfunction()

# quillmore_sources(TARGET [EXCEPT SOURCE...]): every other source of the list's own folder.
function(quillmore_sources target)
    cmake_parse_arguments(LIST "" "" "EXCEPT" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    foreach(source ${LIST_EXCEPT})
        list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${source})
    endforeach()
    target_sources(${target} PRIVATE ${sources})
endfunction()

# quillmore_test(NAME [LABEL] LIBRARY...): a test binary; folders add their tests by quillmore_sources.
# The label is "system" for tests of what the system gives, "window" for those of windows, else "unit".
# ctest has each test by its name; "suite" is the label of all of them.
function(quillmore_test name)
    set(label unit)
    if(ARGV1 MATCHES "^(system|window)$")
        set(label ${ARGV1})
        list(REMOVE_AT ARGN 0)
    endif()
    add_executable(${name})
    quillmore_flags(${name})
    target_compile_options(${name} PRIVATE ${QUILLMORE_TEST_FLAGS})
    target_link_libraries(${name} PRIVATE ${ARGN} GTest::gmock_main)
    if(NOT label STREQUAL window) # the toolkit asks for flags of a library
        target_precompile_headers(${name} REUSE_FROM test_headers)
    endif()
    # Listed when ctest starts: a build lists nothing.
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60 TEST_PREFIX ${name}.
        PROPERTIES LABELS "${label};suite" ENVIRONMENT "${quillmore_test_environment}")
endfunction()
