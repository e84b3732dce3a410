# The key pair that packages are signed and verified with. A distributor gives the public key that the
# update tool carries and signs elsewhere; a build for trying things out makes a pair of its own, which
# stays in the build folder.
set(QUILLMORE_PUBLIC_KEY_FILE "" CACHE FILEPATH "PEM public key built into updateqm; made here when empty")
set(QUILLMORE_PRIVATE_KEY_FILE "" CACHE FILEPATH "PEM RSA private key that signs the sample payloads; made here when empty")

if(QUILLMORE_PUBLIC_KEY_FILE STREQUAL "")
    set(quillmore_public_key ${CMAKE_BINARY_DIR}/keys/public.pem)
    set(quillmore_private_key ${CMAKE_BINARY_DIR}/keys/private.pem)
    if(NOT EXISTS ${quillmore_public_key})
        find_program(OPENSSL openssl REQUIRED)
        file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/keys)
        execute_process(COMMAND ${OPENSSL} genrsa -traditional -out ${quillmore_private_key} 2048
            ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND ${OPENSSL} rsa -in ${quillmore_private_key} -pubout -out ${quillmore_public_key}
            ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
else()
    set(quillmore_public_key ${QUILLMORE_PUBLIC_KEY_FILE})
    set(quillmore_private_key ${QUILLMORE_PRIVATE_KEY_FILE})
endif()

# generated/PackagePublicKey.h: `kPackagePublicKey`, the PEM text.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${quillmore_public_key})
file(READ ${quillmore_public_key} quillmore_public_key_text)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/generated/PackagePublicKey.h CONTENT
"// Made by the build from the distributor's public key.
#pragma once
inline constexpr const char* kPackagePublicKey = R\"pem(@quillmore_public_key_text@)pem\";
" @ONLY)
