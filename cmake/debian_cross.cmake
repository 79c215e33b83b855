# A toolchain file for another of Debian's architectures: its cross compiler, and in CMAKE_SYSROOT a
# root of that architecture with the libraries. The compilers bear the architecture's triplet.
set(CMAKE_SYSTEM_NAME Linux)
string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR "${ORVANE_TRIPLET}")
set(CMAKE_C_COMPILER "${ORVANE_TRIPLET}-gcc")
set(CMAKE_CXX_COMPILER "${ORVANE_TRIPLET}-g++")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVANE_TRIPLET CMAKE_SYSROOT)

# The programs that a build runs are this computer's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

string(REGEX REPLACE "^i[3-6]86-" "i386-" library_architecture "${ORVANE_TRIPLET}")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/${library_architecture}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
