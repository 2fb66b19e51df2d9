# The one place that knows the hosts. A folder MAC/ or LINUX/ beside a product source holds what truly
# differs; ZEVO_HOST_FOLDER names the one to build, and ZEVO_HOST_SUFFIX its source ending.
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
