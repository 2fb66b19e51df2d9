# The only place that asks for the host's name. Code that differs between the hosts is in folders MAC/ and LINUX/ beside
# the other sources; ZEVO_HOST_FOLDER names the folder to build, ZEVO_HOST_SUFFIX the ending of its sources.
if(CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  set(ZEVO_HOST_FOLDER MAC)
  set(ZEVO_HOST_SUFFIX mm)
  set(ZEVO_HAS_UDEV OFF)
  enable_language(OBJCXX)
elseif(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  set(ZEVO_HOST_FOLDER LINUX)
  set(ZEVO_HOST_SUFFIX cpp)
  set(ZEVO_HAS_UDEV ON)
else()
  message(FATAL_ERROR "ZevoLauncher builds for macOS and Linux; '${CMAKE_SYSTEM_NAME}' has no platform "
                      "layer yet. docs/platforms.md tells how to add one.")
endif()
