# Another processor: Debian's cross compiler, the libraries of a system root, and qemu to run what is built. The names
# come from scripts/cross.sh.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR $ENV{KESTO_PROCESSOR})
set(CMAKE_LIBRARY_ARCHITECTURE ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
set(CMAKE_CXX_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-g++)
set(CMAKE_SYSROOT $ENV{KESTO_SYSROOT})
string(REPLACE " " ";" CMAKE_CROSSCOMPILING_EMULATOR "$ENV{KESTO_EMULATOR}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
