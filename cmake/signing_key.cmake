# The key whose signatures gpg_verify() accepts and which gpg_encrypt() encrypts to: its public half
# becomes part of the library.
set(ORVANE_SIGNING_KEY "" CACHE FILEPATH
    "Binary OpenPGP RSA public key to build in; empty for a key of this build's own")

# It runs here, also when the library is for another machine.
find_program(GPG_PROGRAM gpg NO_CMAKE_FIND_ROOT_PATH)
if(NOT GPG_PROGRAM)
    message(FATAL_ERROR "gpg, which reads and makes the signing key, is missing. "
        "Install it with its agent, or say where it is: -DGPG_PROGRAM=FILE")
endif()

# Further arguments are the remedy. A line of it that is indented is printed as it stands.
function(refuse_signing_key file reason)
    message(FATAL_ERROR "The signing key ${file} ${reason}.\n"
        "ORVANE_SIGNING_KEY must be one binary OpenPGP RSA public key of at most 1024 bytes. "
        ${ARGN} "\ndocs/keys.md describes how to make a key.")
endfunction()

# Runs gpg on the file with a key store that lasts for this one call. The status is ANSWER_status.
function(ask_gpg file answer)
    set(home "${PROJECT_BINARY_DIR}/CMakeFiles/signing_key")
    file(REMOVE_RECURSE "${home}")
    file(MAKE_DIRECTORY "${home}")
    execute_process(COMMAND chmod 700 "${home}")
    execute_process(
        COMMAND "${GPG_PROGRAM}" --batch --no-options --no-autostart --homedir "${home}"
            ${ARGN} "${file}"
        OUTPUT_VARIABLE output ERROR_VARIABLE error RESULT_VARIABLE status)
    file(REMOVE_RECURSE "${home}")
    if(NOT status MATCHES "^[0-9]+$")
        message(FATAL_ERROR "${GPG_PROGRAM}, which reads the signing key, does not run: ${status}")
    endif()
    set(${answer} "${output}" PARENT_SCOPE)
    set(${answer}_status ${status} PARENT_SCOPE)
endfunction()

# Sets fingerprint, creation_time and origin to what gpg finds in the file.
function(read_signing_key file)
    set(export_it "Export it:\n  gpg --export FINGERPRINT >FILE")
    set(make_one
        "Make one:\n  gpg --quick-generate-key 'NAME <ADDRESS>' rsa3072 sign,encr never")
    if(NOT EXISTS "${file}")
        refuse_signing_key("${file}" "is missing" "${export_it}")
    elseif(IS_DIRECTORY "${file}")
        refuse_signing_key("${file}" "is a directory" "${export_it}")
    endif()
    file(SIZE "${file}" size)
    if(size EQUAL 0)
        refuse_signing_key("${file}" "is empty" "${export_it}")
    endif()

    ask_gpg("${file}" listing --with-colons --show-keys)
    # No list of all records, because a user ID may hold brackets that join a list's elements.
    string(REGEX MATCHALL "(^|\n)(pub|sec):[^\n]*" keys "${listing}")
    list(LENGTH keys count)
    file(READ "${file}" start LIMIT 1 HEX)
    if(keys MATCHES "(^|\n)sec:")
        refuse_signing_key("${file}" "holds a private key"
            "Export the public half alone:\n  gpg --export FINGERPRINT >FILE")
    elseif(count EQUAL 0 OR NOT listing_status EQUAL 0)
        refuse_signing_key("${file}" "is no OpenPGP key" "${export_it}")
    elseif(count GREATER 1)
        refuse_signing_key("${file}" "holds ${count} keys"
            "Export one of them:\n  gpg --export FINGERPRINT >FILE")
    elseif(NOT start MATCHES "^[89a-f]") # a packet begins with the highest bit set
        refuse_signing_key("${file}" "is armoured"
            "Take the armour off:\n  gpg --dearmor <ARMOURED >FILE")
    endif()

    # pub:validity:bits:algorithm:key ID:created:...:capabilities:
    string(REPLACE ":" ";" fields "${keys}")
    list(GET fields 1 validity)
    list(GET fields 3 algorithm)
    list(GET fields 5 creation_time)
    list(GET fields 11 capabilities)
    if(NOT algorithm EQUAL 1)
        refuse_signing_key("${file}" "is not an RSA key" "${make_one}")
    elseif(size GREATER 1024)
        refuse_signing_key("${file}" "has ${size} bytes, too many"
            "3072 bits with one short user ID and no signature of others fit:\n"
            "  gpg --export-options export-minimal --export FINGERPRINT >FILE")
    elseif(validity STREQUAL "r")
        refuse_signing_key("${file}" "is revoked" "${make_one}")
    elseif(validity STREQUAL "e")
        refuse_signing_key("${file}" "is expired" "Extend it and export it again:\n"
            "  gpg --quick-set-expire FINGERPRINT never\n  gpg --export FINGERPRINT >FILE")
    elseif(NOT capabilities MATCHES "s") # of subkeys too it is "S"
        refuse_signing_key("${file}" "does not sign with its primary key" "${make_one}")
    endif()
    # As the library will. Not by the status: in a folder with a long path gpg misses its agent, which
    # it does not need for this.
    ask_gpg("${file}" imported --status-fd 1 --import)
    string(REPEAT "[0-9A-F]" 40 digits)
    if(NOT imported MATCHES "IMPORT_OK [0-9]+ (${digits})\n")
        refuse_signing_key("${file}" "cannot be imported by gpg"
            "Export it again:\n  gpg --export FINGERPRINT >FILE")
    endif()
    set(fingerprint ${CMAKE_MATCH_1} PARENT_SCOPE)
    set(creation_time ${creation_time} PARENT_SCOPE)
    # As make_signing_key.sh names it: also where one build's key is given to another.
    if(listing MATCHES "\nuid:[^\n]*:Signing key of one liborvane build:")
        set(origin "made by a build for itself" PARENT_SCOPE)
    else()
        set(origin "given to the build" PARENT_SCOPE)
    endif()
    if(NOT capabilities MATCHES "E")
        message(WARNING "The signing key ${file} cannot be encrypted to: "
            "gpg_encrypt() will return ORVANE_GPG_ENCRYPT_FAILED.")
    endif()
endfunction()

# Sets signing_key_fingerprint as well.
function(write_signing_key_source file source)
    read_signing_key("${file}")
    file(SIZE "${file}" key_length)
    file(READ "${file}" bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," key_bytes "${bytes}")
    set(key_fingerprint ${fingerprint})
    set(signing_key_fingerprint ${fingerprint} PARENT_SCOPE)
    string(SUBSTRING ${fingerprint} 24 16 key_long_id)
    set(key_creation_time ${creation_time})
    set(signing_key_fingerprint ${fingerprint} PARENT_SCOPE)
    set(signing_key_origin ${origin} PARENT_SCOPE)
    configure_file("${PROJECT_SOURCE_DIR}/src/integrity/builtin_key.cpp.in" "${source}" @ONLY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
endfunction()

# The private half of a build's own key has no other place than the build folder.
set(own_signing_key "${PROJECT_BINARY_DIR}/signing_key")
if(ORVANE_SIGNING_KEY STREQUAL "")
    set(signing_key "${own_signing_key}/public.gpg")
    if(NOT EXISTS "${signing_key}")
        execute_process(
            COMMAND "${PROJECT_SOURCE_DIR}/cmake/make_signing_key.sh"
                "${GPG_PROGRAM}" "${own_signing_key}"
            RESULT_VARIABLE status)
        if(NOT status EQUAL 0)
            message(FATAL_ERROR "The signing key of this build cannot be made: ${status}")
        endif()
    endif()
    message(STATUS "Signing key: made for this build alone, in ${own_signing_key}; "
        "-DORVANE_SIGNING_KEY=FILE builds in another")
else()
    # Already absolute, but for a path that came with its type.
    get_filename_component(signing_key "${ORVANE_SIGNING_KEY}" ABSOLUTE
        BASE_DIR "${PROJECT_SOURCE_DIR}")
endif()
set(signing_key_source "${PROJECT_BINARY_DIR}/builtin_key.cpp")
write_signing_key_source("${signing_key}" "${signing_key_source}")
