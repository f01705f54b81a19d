# Cross build for 64-bit Windows with Debian's MinGW-w64 compilers, the
# flavour with POSIX threads (std::thread, std::mutex through winpthreads).
#   cmake -S . -B build/win -G Ninja \
#         -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw64.cmake
# Test programs then run through Wine when it is installed (cmake/Windows.cmake).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(QOR_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${QOR_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QOR_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${QOR_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${QOR_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# A Windows user gets two DLLs and nothing else: the GCC support libraries
# (libgcc, libstdc++, winpthreads) are linked in statically, into the DLLs
# and into every program.  Only system DLLs (kernel32, msvcrt) stay imported.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

