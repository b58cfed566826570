# Cross-compiles for Windows with MinGW. The programs run in wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(PNGSLAB_STATIC OFF CACHE BOOL "") # its -static-pie does not work together with -static
