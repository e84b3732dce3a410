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

# quillmore_library(NAME FOLDER...): every source directly in the folders.
function(quillmore_library name)
    set(sources "")
    foreach(folder ${ARGN})
        file(GLOB found CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.cpp)
        list(APPEND sources ${found})
    endforeach()
    add_library(${name} STATIC ${sources})
    quillmore_flags(${name})
endfunction()

function(quillmore_library_of name)
    add_library(${name} STATIC ${ARGN})
    quillmore_flags(${name})
endfunction()

function(quillmore_remove_sources target)
    get_target_property(sources ${target} SOURCES)
    foreach(source ${ARGN})
        list(REMOVE_ITEM sources ${CMAKE_SOURCE_DIR}/${source})
    endforeach()
    set_target_properties(${target} PROPERTIES SOURCES "${sources}")
endfunction()

# quillmore_test(NAME LIBRARIES... FOLDERS folder...): a test binary whose tests ctest knows by name.
function(quillmore_test name)
    cmake_parse_arguments(TEST "" "" "LIBRARIES;FOLDERS" ${ARGN})
    set(sources "")
    foreach(folder ${TEST_FOLDERS})
        file(GLOB found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
        list(APPEND sources ${found})
    endforeach()
    add_executable(${name} ${sources})
    quillmore_flags(${name})
    target_link_libraries(${name} PRIVATE ${TEST_LIBRARIES} GTest::gmock_main)
    add_test(NAME ${name} COMMAND ${name})
endfunction()
