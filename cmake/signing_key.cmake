# The key whose signatures gpg_verify() accepts and which gpg_encrypt() encrypts to: its public half
# becomes part of the library.
set(ORVANE_SIGNING_KEY "" CACHE FILEPATH
    "Binary OpenPGP RSA public key to build in; empty for a key of this build's own")

find_program(GPG_PROGRAM gpg REQUIRED)

function(refuse_signing_key file reason remedy)
    message(FATAL_ERROR "The signing key ${file} ${reason}.\n"
        "ORVANE_SIGNING_KEY must be one binary OpenPGP RSA public key of at most 1024 bytes. "
        "${remedy} docs/keys.md tells how to make a key.")
endfunction()

function(refuse_unless_binary file)
    if(NOT EXISTS "${file}" OR IS_DIRECTORY "${file}")
        refuse_signing_key("${file}" "is missing" "Export it: gpg --export FINGERPRINT >FILE")
    endif()
    file(READ "${file}" start LIMIT 10 HEX)
    if(start STREQUAL "2d2d2d2d2d424547494e") # -----BEGIN
        refuse_signing_key("${file}" "is armoured"
            "Take the armour off: gpg --dearmor <ARMOURED >FILE")
    elseif(NOT start MATCHES "^[89a-f]") # each packet begins with the highest bit set
        refuse_signing_key("${file}" "is no OpenPGP key" "Export it: gpg --export FINGERPRINT >FILE")
    endif()
endfunction()

# Runs gpg on the file with a key store that lasts for this one call.
function(ask_gpg file listing)
    set(home ${PROJECT_BINARY_DIR}/CMakeFiles/signing_key)
    file(REMOVE_RECURSE ${home})
    file(MAKE_DIRECTORY ${home})
    file(CHMOD ${home} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    execute_process(
        COMMAND ${GPG_PROGRAM} --batch --no-options --no-autostart --homedir ${home} ${ARGN} ${file}
        OUTPUT_VARIABLE output ERROR_VARIABLE error RESULT_VARIABLE status)
    file(REMOVE_RECURSE ${home})
    if(NOT status EQUAL 0)
        set(output "")
    endif()
    set(${listing} "${output}" PARENT_SCOPE)
endfunction()

# Sets fingerprint and creation_time to what gpg finds in the file.
function(read_signing_key file)
    refuse_unless_binary("${file}")
    ask_gpg("${file}" listing --with-colons --show-keys)
    string(REPLACE "\n" ";" records "${listing}")
    list(FILTER records INCLUDE REGEX "^(pub|sec):")
    list(LENGTH records keys)
    if(records MATCHES "(^|;)sec:")
        refuse_signing_key("${file}" "holds a private key"
            "Export the public half alone: gpg --export FINGERPRINT >FILE")
    elseif(keys EQUAL 0)
        refuse_signing_key("${file}" "is no OpenPGP key" "Export it: gpg --export FINGERPRINT >FILE")
    elseif(keys GREATER 1)
        refuse_signing_key("${file}" "holds ${keys} keys"
            "Export one of them: gpg --export FINGERPRINT >FILE")
    endif()

    # pub:validity:bits:algorithm:key ID:created:...:capabilities:
    if(NOT records MATCHES "^pub:[^:]*:[^:]*:([0-9]+):[^:]*:([0-9]+):[^:]*:[^:]*:[^:]*:[^:]*:[^:]*:([^:]*):")
        refuse_signing_key("${file}" "is listed by gpg in a form that is not known"
            "gpg 2.2 or later is needed.")
    endif()
    set(algorithm ${CMAKE_MATCH_1})
    set(creation_time ${CMAKE_MATCH_2})
    set(capabilities ${CMAKE_MATCH_3})
    if(NOT algorithm EQUAL 1)
        refuse_signing_key("${file}" "is not an RSA key"
            "Make one: gpg --quick-generate-key 'NAME <ADDRESS>' rsa3072 sign,encr never")
    endif()
    file(SIZE "${file}" size)
    if(size GREATER 1024)
        refuse_signing_key("${file}" "has ${size} bytes, too many"
            "A key of 3072 bits with one user ID and no more fits: gpg --export-options export-minimal --export FINGERPRINT >FILE")
    endif()
    # As the library will.
    ask_gpg("${file}" imported --status-fd 1 --import)
    if(NOT imported MATCHES "IMPORT_OK [0-9]+ ([0-9A-F]+)")
        refuse_signing_key("${file}" "cannot be imported by gpg"
            "Export it again: gpg --export FINGERPRINT >FILE")
    endif()
    set(fingerprint ${CMAKE_MATCH_1})
    if(NOT capabilities MATCHES "s" OR NOT capabilities MATCHES "E")
        message(WARNING "The signing key ${file} is not for both signing and encrypting: "
            "gpg_verify() needs a primary key that signs, gpg_encrypt() one that can be encrypted to.")
    endif()
    set(fingerprint ${fingerprint} PARENT_SCOPE)
    set(creation_time ${creation_time} PARENT_SCOPE)
endfunction()

function(write_signing_key_source file source)
    read_signing_key("${file}")
    file(SIZE "${file}" key_length)
    file(READ "${file}" bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," key_bytes "${bytes}")
    set(key_fingerprint ${fingerprint})
    string(SUBSTRING ${fingerprint} 24 16 key_long_id)
    set(key_creation_time ${creation_time})
    configure_file(${PROJECT_SOURCE_DIR}/src/integrity/builtin_key.cpp.in ${source} @ONLY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
endfunction()

# The private half of a build's own key never leaves the build folder.
set(own_signing_key ${PROJECT_BINARY_DIR}/signing_key)
if(ORVANE_SIGNING_KEY)
    set(signing_key ${ORVANE_SIGNING_KEY})
else()
    set(signing_key ${own_signing_key}/public.gpg)
    if(NOT EXISTS ${signing_key})
        execute_process(COMMAND ${PROJECT_SOURCE_DIR}/cmake/make_signing_key.sh ${own_signing_key}
            COMMAND_ERROR_IS_FATAL ANY)
    endif()
    message(STATUS "Signing key: made for this build alone, in ${own_signing_key}; "
        "-DORVANE_SIGNING_KEY=FILE builds in another")
endif()
set(signing_key_source ${PROJECT_BINARY_DIR}/builtin_key.cpp)
write_signing_key_source("${signing_key}" ${signing_key_source})
