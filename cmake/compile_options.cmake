# What every target of this project is compiled and linked with.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# Sets a variable to those of the options that the compiler has for this processor.
function(known_options result)
    set(CMAKE_REQUIRED_FLAGS -Werror) # clang++ warns of one of another processor
    set(known)
    foreach(option IN LISTS ARGN)
        string(MAKE_C_IDENTIFIER "has${option}" has_option)
        check_cxx_compiler_flag(${option} ${has_option})
        if(${has_option})
            list(APPEND known ${option})
        endif()
    endforeach()
    set(${result} ${known} PARENT_SCOPE)
endfunction()

add_library(orvane_options INTERFACE)
target_compile_features(orvane_options INTERFACE cxx_std_20)
target_compile_options(orvane_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wcast-qual -Wformat=2
    -Wundef -Wvla $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Wextra-semi>
    $<$<BOOL:${ORVANE_WERROR}>:-Werror>)

# OpenSSL's interface of 1.1: its digests need no look-up, and callers hold RSA objects.
target_compile_definitions(orvane_options INTERFACE OPENSSL_API_COMPAT=0x10100000L)

# A file of any size and date has a mode, and the clock goes on, on 32-bit machines too.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_compile_definitions(orvane_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

known_options(hardening
    -fstack-protector-strong -fstack-clash-protection -fstrict-flex-arrays=3
    -fcf-protection -mbranch-protection=standard)
target_compile_options(orvane_options INTERFACE ${hardening})
target_link_options(orvane_options INTERFACE
    -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)

if(ORVANE_SANITIZE)
    target_compile_options(orvane_options INTERFACE
        -fsanitize=${ORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(orvane_options INTERFACE -fsanitize=${ORVANE_SANITIZE})
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    # It needs an optimising build, and hides accesses from the sanitizers.
    set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
    check_cxx_source_compiles("
        #include <features.h>
        #if __USE_FORTIFY_LEVEL < 3
        #error
        #endif
        int main() {}" has_fortify_3)
    unset(CMAKE_REQUIRED_FLAGS)
    if(has_fortify_3)
        set(fortify 3)
    else()
        set(fortify 2)
    endif()
    # A variable that is not initialised is found by tools only where it is not zero.
    known_options(optimised -ftrivial-auto-var-init=zero)
    target_compile_options(orvane_options INTERFACE
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify} ${optimised}
        # Builds in different folders are identical.
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
endif()

# With ORVANE_ANALYSIS a target's sources are analysed while they are compiled, so that only what
# has changed is analysed again.
function(orvane_analysed target)
    if(NOT ORVANE_ANALYSIS)
        return()
    endif()
    foreach(tool clang-tidy cppcheck)
        find_program(${tool}_path ${tool} REQUIRED)
    endforeach()
    set_target_properties(${target} PROPERTIES
        CXX_CLANG_TIDY "${clang-tidy_path};--quiet"
        # A loop that reads well needs no algorithm.
        CXX_CPPCHECK "${cppcheck_path};--quiet;--error-exitcode=1;--std=c++20;--inline-suppr;--enable=warning,style,performance,portability;--suppress=useStlAlgorithm")
endfunction()
