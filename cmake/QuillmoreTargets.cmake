# How this project makes a library, a program and a test binary.

# Flags of our own code. The bundle's programs must not die of a stack smash silently, and the helper
# runs as root: hardening is on everywhere.
function(quillmore_flags target)
    target_include_directories(${target} PUBLIC ${CMAKE_SOURCE_DIR})
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -fstack-protector-strong
        # Assertion lines name a source as the repository does, wherever the build folder is.
        -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
        $<$<BOOL:${QUILLMORE_WARNINGS_ARE_ERRORS}>:-Werror>)
endfunction()

# quillmore_library(NAME [SOURCE...]): a library; folders add theirs by quillmore_sources.
function(quillmore_library name)
    add_library(${name} STATIC ${ARGN})
    quillmore_flags(${name})
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

# quillmore_test(NAME LIBRARY...): a test binary; folders add their tests by quillmore_sources.
function(quillmore_test name)
    add_executable(${name})
    quillmore_flags(${name})
    target_link_libraries(${name} PRIVATE ${ARGN} GTest::gmock_main)
    add_test(NAME ${name} COMMAND ${name})
endfunction()
