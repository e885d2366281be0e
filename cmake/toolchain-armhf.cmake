# 32-bit ARM hard-float, the headend's processor, with Debian's cross
# toolchain (crossbuild-essential-armhf). The armhf libraries come from an
# armhf root: either a private one unpacked by scripts/cross-armhf
# (TAVEL_ARMHF_ROOT) or the machine itself when they are installed through
# multiarch (the default, "/"). Binaries run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

if(NOT DEFINED TAVEL_ARMHF_ROOT)
  if(DEFINED ENV{TAVEL_ARMHF_ROOT})
    set(TAVEL_ARMHF_ROOT "$ENV{TAVEL_ARMHF_ROOT}")
  else()
    set(TAVEL_ARMHF_ROOT "/")
  endif()
endif()
set(TAVEL_ARMHF_ROOT "${TAVEL_ARMHF_ROOT}" CACHE PATH "armhf root holding the target's libraries")
# try_compile projects re-read this file; hand the root on to them.
set(ENV{TAVEL_ARMHF_ROOT} "${TAVEL_ARMHF_ROOT}")
string(REGEX REPLACE "/$" "" _root "${TAVEL_ARMHF_ROOT}")

set(CMAKE_FIND_ROOT_PATH "${TAVEL_ARMHF_ROOT}" /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)   # code generators run on the build machine
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Indirect dependencies of the armhf libraries (libthrift needs libssl...).
string(CONCAT _rpath_link
  " -Wl,-rpath-link,${_root}/usr/lib/arm-linux-gnueabihf"
  " -Wl,-rpath-link,${_root}/lib/arm-linux-gnueabihf")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${_rpath_link}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${_rpath_link}")

# pkg-config answers for the target, never for the build machine.
set(ENV{PKG_CONFIG_LIBDIR} "${_root}/usr/lib/arm-linux-gnueabihf/pkgconfig:${_root}/usr/share/pkgconfig")
if(_root STREQUAL "")
  unset(ENV{PKG_CONFIG_SYSROOT_DIR})
  set(_runtime_root /usr/arm-linux-gnueabihf)
else()
  set(ENV{PKG_CONFIG_SYSROOT_DIR} "${_root}")
  set(_runtime_root "${_root}")
endif()

# Tests and generators built for the target run under user-mode emulation.
find_program(TAVEL_QEMU_ARM qemu-arm REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR "${TAVEL_QEMU_ARM};-L;${_runtime_root}")
