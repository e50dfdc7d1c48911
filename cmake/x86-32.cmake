# Builds for 32-bit x86 with the machine's own compiler and the libraries of a 32-bit Debian root, RYL_X86_32_ROOT,
# which scripts/check-x86-32 makes. Programs run in an emulator that finds their libraries there.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(RYL_X86_32_ROOT ${CMAKE_CURRENT_LIST_DIR}/../build/x86-32/root
    CACHE PATH "a 32-bit Debian root with the -dev packages")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES RYL_X86_32_ROOT)
file(REAL_PATH ${RYL_X86_32_ROOT} CMAKE_SYSROOT)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/i386-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

# The emulated processor has no AVX, because the emulator runs the software renderer's AVX code wrongly and the
# pictures get dots. It also lacks the 64-bit features that the emulator warns of.
find_program(EMULATOR_X86_32 qemu-i386 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${EMULATOR_X86_32} -cpu Nehalem,-lm,-syscall -L ${CMAKE_SYSROOT})
set(RYL_X86_32_EMULATOR ${CMAKE_CROSSCOMPILING_EMULATOR} CACHE INTERNAL "the command before a program's, as a list")
