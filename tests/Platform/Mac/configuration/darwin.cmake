# A build for macOS that can be configured, and no more, on another system: with its packages in place
# of a Mac's. Included twice, as a toolchain file and once the project has begun.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_CXX_COMPILER_TARGET x86_64-apple-macosx11.0)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # there is nothing to link with
set(CMAKE_INSTALL_NAME_TOOL true)
if(CMAKE_PROJECT_NAME AND NOT TARGET WrapOpenGL::WrapOpenGL)
    add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED GLOBAL) # a framework, which Qt asks for
endif()
