# 32-bit big-endian PowerPC Linux (the appliance controller), built with
# Debian's cross compiler; executables run under qemu-user.
# Third-party libraries come from the static sysroot made by scripts/cross-sysroot.sh.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR powerpc)
set(DBI_CROSS_TRIPLE powerpc-linux-gnu)
set(CMAKE_C_COMPILER ${DBI_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${DBI_CROSS_TRIPLE}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L /usr/${DBI_CROSS_TRIPLE})

if(NOT DBI_CROSS_SYSROOT)
  set(DBI_CROSS_SYSROOT "$ENV{HOME}/.cache/dbi-cross/powerpc/sysroot")
  if(DEFINED ENV{DBI_CROSS_CACHE})
    set(DBI_CROSS_SYSROOT "$ENV{DBI_CROSS_CACHE}/powerpc/sysroot")
  endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES DBI_CROSS_SYSROOT)

set(CMAKE_FIND_ROOT_PATH ${DBI_CROSS_SYSROOT} /usr/${DBI_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(Boost_NO_BOOST_CMAKE ON)
set(Boost_USE_STATIC_LIBS ON)
set(OPENSSL_USE_STATIC_LIBS ON)

# 64-bit atomics on 32-bit PowerPC are library calls into libatomic.
set(CMAKE_C_STANDARD_LIBRARIES_INIT -latomic)
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT -latomic)
