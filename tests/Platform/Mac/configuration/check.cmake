# Configures the project as on macOS and looks at what would be built.
#
# usage: cmake -DSOURCE=... -DBUILD=... -DCOMPILER=clang++ -DARCHITECTURE=... -P check.cmake
set(platform ${CMAKE_CURRENT_LIST_DIR}/darwin.cmake)
file(REMOVE_RECURSE ${BUILD})
execute_process(
    COMMAND ${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${BUILD} -DCMAKE_CXX_COMPILER=${COMPILER}
        -DCMAKE_TOOLCHAIN_FILE=${platform} -DCMAKE_PROJECT_INCLUDE=${platform}
        -DCMAKE_LIBRARY_ARCHITECTURE=${ARCHITECTURE}
    OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(result)
    message(FATAL_ERROR "The project cannot be configured for macOS:\n${output}")
endif()

file(READ ${BUILD}/build.ninja rules)
file(GLOB_RECURSE lists ${BUILD}/tests/CTestTestfile.cmake)
set(tests "")
foreach(list ${lists})
    file(STRINGS ${list} found REGEX "^add_test")
    list(APPEND tests ${found})
endforeach()
foreach(wanted "libplatform_mac\\.a" "-framework Security" "PlugIns/libquillmore_qt\\.so"
        "platform_tests" "common_tests" "launcher_tests" "qt_tests" "updateqm")
    if(NOT rules MATCHES "${wanted}")
        message(SEND_ERROR "missing from the build for macOS: ${wanted}")
    endif()
endforeach()
foreach(unwanted "Platform/Linux" "polkit" "quillmore_secret" "SharedSupport/bin" "sample_finder"
        "common_linux" "--wrap" "--exclude-libs" "relro")
    string(FIND "${rules}" "${unwanted}" place)
    if(NOT place EQUAL -1)
        message(SEND_ERROR "not for macOS: ${unwanted}")
    endif()
endforeach()
if(tests MATCHES "e2e|linux")
    message(SEND_ERROR "not for macOS: the test ${CMAKE_MATCH_0}")
endif()
