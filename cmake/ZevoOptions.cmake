# Compile options that every target of this tree shares. Linked PRIVATE, so that a consumer of an installed
# library does not inherit them.
find_package(Threads REQUIRED)

add_library(zevo_options INTERFACE)
target_compile_options(zevo_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(zevo_options INTERFACE -Wthread-safety)
endif()
if(ZEVO_SANITIZE)
  add_compile_options(-fsanitize=${ZEVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -g)
  add_link_options(-fsanitize=${ZEVO_SANITIZE})
endif()
