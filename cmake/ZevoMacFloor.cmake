# Sets the oldest macOS that this tree is built for. Included before project(); without effect for other systems.
#
# 10.7 is the first macOS with libc++ and thread_local. arm64 begins with 11.0, which the compiler knows. To require a
# later macOS, set CMAKE_OSX_DEPLOYMENT_TARGET or MACOSX_DEPLOYMENT_TARGET.
set(what "The oldest macOS that what is built runs on")
if(NOT CMAKE_OSX_DEPLOYMENT_TARGET AND NOT "$ENV{MACOSX_DEPLOYMENT_TARGET}" STREQUAL "")
  set(CMAKE_OSX_DEPLOYMENT_TARGET $ENV{MACOSX_DEPLOYMENT_TARGET} CACHE STRING ${what} FORCE)
elseif(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
  set(CMAKE_OSX_DEPLOYMENT_TARGET 10.7 CACHE STRING ${what} FORCE)
endif()
# For a macOS before 10.9, compilers would choose libstdc++.
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_FLAGS_INIT -stdlib=libc++)
endforeach()
