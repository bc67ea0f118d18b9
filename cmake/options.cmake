# Build-wide settings: language level, warnings, sanitizers and hardening.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

option(KESTO_TESTS "Build the tests" ON)
option(KESTO_BENCH "Build the benchmark" OFF)
option(KESTO_FUZZ "Build the fuzz targets; needs clang" OFF)
option(KESTO_WERROR "Treat warnings as errors; for those who change the code" OFF)
set(KESTO_SANITIZE "" CACHE STRING "Instrumentation: empty, address (with undefined behaviour), thread, fuzzer, coverage")

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wformat=2 -Wundef)
if(KESTO_WERROR)
  add_compile_options(-Werror)
endif()

# gcc takes library code for uninitialised once a sanitizer has rewritten it.
if(KESTO_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wno-maybe-uninitialized)
endif()

if(KESTO_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=address,undefined)
elseif(KESTO_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=thread)
elseif(KESTO_SANITIZE STREQUAL "fuzzer")
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=address,undefined)
elseif(KESTO_SANITIZE STREQUAL "coverage")
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
elseif(KESTO_SANITIZE)
  message(FATAL_ERROR "KESTO_SANITIZE is '${KESTO_SANITIZE}'; it takes address, thread, fuzzer or coverage")
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
  # What Debian's build flags make of hardening=+all. A document, a network and a printer talk to these programs.
  set(KESTO_HARDENED ON)
  add_compile_options(-fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  add_link_options(-Wl,-z,relro -Wl,-z,now)
  include(CheckPIESupported)
  check_pie_supported()
  # Where calls and returns may lead; every processor has its own way to say so.
  include(CheckCXXCompilerFlag)
  foreach(flag -fcf-protection=full -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "KESTO_HAS${flag}" supported)
    check_cxx_compiler_flag("-Werror ${flag}" ${supported})
    if(${supported})
      add_compile_options(${flag})
    endif()
  endforeach()
endif()
