# Compile options that every target of this tree shares. Linked PRIVATE, so that a consumer of an installed
# library does not inherit them.
find_package(Threads REQUIRED)

# Use ccache if it is installed.
find_program(ZEVO_CCACHE ccache)
mark_as_advanced(ZEVO_CCACHE)
if(ZEVO_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  # These settings allow it to cache sources that use a precompiled header.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${ZEVO_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_OBJCXX_COMPILER_LAUNCHER ${launcher})
endif()

add_library(zevo_options INTERFACE)
target_compile_options(zevo_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(zevo_options INTERFACE -Wthread-safety)
  if(ZEVO_HOST_FOLDER STREQUAL "MAC")
    target_compile_options(zevo_options INTERFACE -Wunguarded-availability) # warns of calls that the oldest macOS lacks
  endif()
else()
  target_compile_options(zevo_options INTERFACE
    -fpch-preprocess           # ccache requires it with precompiled headers
    -fno-semantic-interposition) # in a shared library too, nobody else replaces our functions
endif()

# Hardening, which makes mistakes hard to exploit: stack protectors, protection against stack clashes, checked targets
# of jumps and returns, checked calls of the C library, relocations that are read-only from the start, and a stack that
# is not executable. It costs 1 to 2 % of the time of a start. tools/hardening-check looks for it in the built files.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
if(NOT ZEVO_SANITIZE) # a sanitizer checks all this itself, and GCC's misplaces aligned objects in protected frames
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "ZEVO_HAS${flag}" has)
    set(CMAKE_REQUIRED_FLAGS -Werror) # clang only warns of a flag that it does not use
    check_cxx_compiler_flag(${flag} ${has})
    unset(CMAKE_REQUIRED_FLAGS)
    if(${has})
      target_compile_options(zevo_options INTERFACE ${flag})
    endif()
  endforeach()
  # _FORTIFY_SOURCE works only with optimisation. Some distributions' compilers predefine it, hence -U.
  target_compile_options(zevo_options INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
endif()
check_linker_flag(CXX -Wl,-z,relro,-z,now,-z,noexecstack ZEVO_HAS_RELRO)
if(ZEVO_HAS_RELRO)
  target_link_options(zevo_options INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
endif()

if(ZEVO_SANITIZE)
  add_compile_options(-fsanitize=${ZEVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZEVO_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Sanitizers cause false positives of this warning, as GCC's manual says. All other builds keep it.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()
if(ZEVO_FUZZ)
  # Every library is instrumented for coverage; only the fuzz programs themselves link the fuzzer's main.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
