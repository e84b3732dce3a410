# The key pair that packages are signed and verified with. A distributor gives the public key that the
# update tool carries and signs elsewhere; a build for trying things out makes a pair of its own, which
# stays in the build folder. A key that could not serve stops the configuration, in one sentence.
set(QUILLMORE_PUBLIC_KEY_FILE "" CACHE FILEPATH "PEM public key built into updateqm; made here when empty")
set(QUILLMORE_PRIVATE_KEY_FILE "" CACHE FILEPATH "PEM RSA private key that signs the sample payloads; made here when empty")
option(QUILLMORE_REQUIRE_SHA256 "updateqm refuses a package without its signature over SHA-256" OFF)

set(quillmore_shortest_key 2048)
find_program(OPENSSL openssl REQUIRED)

# The file's first PEM heading in `heading`: "PUBLIC KEY" and the like, or nothing.
function(quillmore_heading_of_key option file heading)
    execute_process(COMMAND test -f ${file} RESULT_VARIABLE missing)
    if(missing)
        message(FATAL_ERROR "${option}: there is no file ${file}; give the path of a PEM key.")
    endif()
    execute_process(COMMAND head -c 65536 ${file} RESULT_VARIABLE unreadable OUTPUT_VARIABLE text ERROR_QUIET)
    if(unreadable)
        message(FATAL_ERROR "${option}: ${file} cannot be read; make it readable for whoever builds.")
    endif()
    string(REGEX MATCH "(^|\n)-----BEGIN ([A-Z ]+)-----" found "${text}")
    set(${heading} "${CMAKE_MATCH_2}" PARENT_SCOPE)
endfunction()

# The modulus of the key in `modulus`. ARGN: what else openssl needs to read it. It is given a pass
# phrase, a wrong one: or it would ask the terminal for one.
function(quillmore_modulus_of_key option file modulus)
    execute_process(COMMAND ${OPENSSL} rsa -noout -modulus -text -passin pass: -in ${file} ${ARGN}
        INPUT_FILE /dev/null RESULT_VARIABLE failed OUTPUT_VARIABLE text ERROR_QUIET)
    # The program takes RSA-PSS keys for RSA keys; updateqm does not.
    if(failed OR text MATCHES "PSS parameter" OR NOT text MATCHES "^(RSA )?[A-Za-z]+-Key: \\(([0-9]+) bit")
        message(FATAL_ERROR "${option}: ${file} holds no RSA key that can be used without a pass phrase;"
            " make one with \"openssl genrsa\".")
    endif()
    if(CMAKE_MATCH_2 LESS quillmore_shortest_key)
        message(FATAL_ERROR "${option}: the key of ${file} has ${CMAKE_MATCH_2} bits, which is not safe;"
            " make one of ${quillmore_shortest_key} bits or more.")
    endif()
    string(REGEX MATCH "Modulus=[0-9A-F]+" found "${text}")
    set(${modulus} "${found}" PARENT_SCOPE)
endfunction()

function(quillmore_require_public_key file modulus)
    set(option QUILLMORE_PUBLIC_KEY_FILE)
    quillmore_heading_of_key(${option} ${file} heading)
    if(heading MATCHES "PRIVATE KEY")
        message(FATAL_ERROR "${option}: ${file} is a private key, which must not be built into a program;"
            " give the public one (openssl rsa -in ${file} -pubout).")
    elseif(NOT heading STREQUAL "PUBLIC KEY")
        message(FATAL_ERROR "${option}: ${file} is no PEM text that begins with \"BEGIN PUBLIC KEY\";"
            " make one with \"openssl rsa -in PRIVATE -pubout\".")
    endif()
    quillmore_modulus_of_key(${option} ${file} found -pubin)
    set(${modulus} "${found}" PARENT_SCOPE)
endfunction()

function(quillmore_require_private_key file public_modulus)
    set(option QUILLMORE_PRIVATE_KEY_FILE)
    quillmore_heading_of_key(${option} ${file} heading)
    if(heading MATCHES "PUBLIC KEY")
        message(FATAL_ERROR "${option}: ${file} is a public key; give the private one, or leave it out.")
    endif()
    quillmore_modulus_of_key(${option} ${file} found)
    if(NOT found STREQUAL public_modulus)
        message(FATAL_ERROR "${option}: ${file} is not the pair of ${QUILLMORE_PUBLIC_KEY_FILE};"
            " give two halves of one pair.")
    endif()
endfunction()

if(QUILLMORE_PUBLIC_KEY_FILE STREQUAL "")
    if(NOT QUILLMORE_PRIVATE_KEY_FILE STREQUAL "")
        message(FATAL_ERROR "QUILLMORE_PRIVATE_KEY_FILE: its public half is missing;"
            " give it as QUILLMORE_PUBLIC_KEY_FILE.")
    endif()
    set(quillmore_public_key ${CMAKE_BINARY_DIR}/keys/public.pem)
    set(quillmore_private_key ${CMAKE_BINARY_DIR}/keys/private.pem)
    if(NOT EXISTS ${quillmore_public_key})
        file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/keys)
        execute_process(COMMAND ${OPENSSL} genrsa -traditional -out ${quillmore_private_key} 2048
            ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND ${OPENSSL} rsa -in ${quillmore_private_key} -pubout -out ${quillmore_public_key}
            ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
else()
    set(quillmore_public_key ${QUILLMORE_PUBLIC_KEY_FILE})
    set(quillmore_private_key "${QUILLMORE_PRIVATE_KEY_FILE}")
    quillmore_require_public_key(${quillmore_public_key} quillmore_modulus)
    if(NOT quillmore_private_key STREQUAL "")
        quillmore_require_private_key(${quillmore_private_key} ${quillmore_modulus})
    endif()
endif()

# generated/PackagePublicKey.h: `kPackagePublicKey`, the PEM text, and `kRequireSha256`.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${quillmore_public_key})
file(READ ${quillmore_public_key} quillmore_public_key_text)
if(QUILLMORE_REQUIRE_SHA256)
    set(quillmore_require_sha256 true)
else()
    set(quillmore_require_sha256 false)
endif()
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/generated/PackagePublicKey.h CONTENT
"// Made by the build from the distributor's choices.
#pragma once
inline constexpr const char* kPackagePublicKey = R\"pem(@quillmore_public_key_text@)pem\";
inline constexpr bool kRequireSha256 = @quillmore_require_sha256@;
" @ONLY)
