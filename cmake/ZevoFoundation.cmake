# ZEVO_HAS_FOUNDATION: whether this machine compiles Objective-C++ for GNUstep's Foundation, over which the macOS sources
# are tested away from a Mac; then GNUSTEP_FLAGS and GNUSTEP_LIBRARIES say how.
find_program(GNUSTEP_CONFIG gnustep-config)
if(GNUSTEP_CONFIG AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  include(CheckLanguage)
  set(ENV{OBJCXX} ${CMAKE_CXX_COMPILER}) # one compiler for both languages, also under a sanitizer
  check_language(OBJCXX)
endif()
if(CMAKE_OBJCXX_COMPILER)
  enable_language(OBJCXX)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags OUTPUT_VARIABLE GNUSTEP_FLAGS
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --base-libs OUTPUT_VARIABLE GNUSTEP_LIBRARIES
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(GNUSTEP_FLAGS STREQUAL "" OR GNUSTEP_LIBRARIES STREQUAL "")
    # Otherwise the macOS sources would not be run, and nobody would know.
    message(FATAL_ERROR "${GNUSTEP_CONFIG} tells nothing. It needs make. Debian: apt-get install make.")
  endif()
  separate_arguments(GNUSTEP_FLAGS)
  separate_arguments(GNUSTEP_LIBRARIES)
  # Of its flags only what the code depends on: optimising, debugging and dependencies are CMake's, and its
  # headers are not held to this tree's warnings.
  list(FILTER GNUSTEP_FLAGS INCLUDE REGEX "^(-D|-I/|-fobjc|-fexceptions|-fconstant-string-class|-pthread)")
  list(TRANSFORM GNUSTEP_FLAGS REPLACE "^-I" "-isystem")

  include(CheckSourceCompiles)
  list(JOIN GNUSTEP_FLAGS " " CMAKE_REQUIRED_FLAGS)
  set(CMAKE_REQUIRED_LIBRARIES ${GNUSTEP_LIBRARIES})
  check_source_compiles(OBJCXX "#import <Foundation/Foundation.h>
    int main() { [[[NSObject alloc] init] release]; }" ZEVO_HAS_FOUNDATION)
  unset(CMAKE_REQUIRED_FLAGS)
  unset(CMAKE_REQUIRED_LIBRARIES)
endif()
