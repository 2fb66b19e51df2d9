# Sets ZEVO_HAS_FOUNDATION if this machine can compile Objective-C++ for GNUstep's Foundation, with which the macOS
# sources are tested on Linux. GNUSTEP_FLAGS and GNUSTEP_LIBRARIES are then the options for that.
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
    # Without this error, the macOS sources would go untested and nobody would notice.
    message(FATAL_ERROR "${GNUSTEP_CONFIG} tells nothing. It needs make. Debian: apt-get install make.")
  endif()
  separate_arguments(GNUSTEP_FLAGS)
  separate_arguments(GNUSTEP_LIBRARIES)
  # Keep only the flags that the code depends on: CMake has its own for optimisation, debugging and dependencies.
  # -isystem exempts GNUstep's headers from this tree's warnings.
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
