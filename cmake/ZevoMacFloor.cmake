# The oldest macOS that this tree is built for; read before project(), and without effect elsewhere.
#
# 10.7 is the first system with libc++ and thread_local; of arm64 there is none before 11.0, which the compiler knows. A
# caller names a later one with CMAKE_OSX_DEPLOYMENT_TARGET or MACOSX_DEPLOYMENT_TARGET.
set(what "The oldest macOS that what is built runs on")
if(NOT CMAKE_OSX_DEPLOYMENT_TARGET AND NOT "$ENV{MACOSX_DEPLOYMENT_TARGET}" STREQUAL "")
  set(CMAKE_OSX_DEPLOYMENT_TARGET $ENV{MACOSX_DEPLOYMENT_TARGET} CACHE STRING ${what} FORCE)
elseif(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
  set(CMAKE_OSX_DEPLOYMENT_TARGET 10.7 CACHE STRING ${what} FORCE)
endif()
# For systems before 10.9 compilers would take the library that came before libc++.
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_FLAGS_INIT -stdlib=libc++)
endforeach()
