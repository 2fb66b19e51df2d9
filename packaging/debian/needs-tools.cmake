# Read by cpack before it does anything. Without these programs it would make a package that depends on nothing, with no
# more than a warning.
foreach(program dpkg-shlibdeps file)
  find_program(found_${program} ${program} NO_CMAKE_SYSTEM_PATH NO_CACHE)
  if(NOT found_${program})
    message(FATAL_ERROR "Debian packages need ${program}, which names what they depend on. "
                        "Debian: apt-get install dpkg-dev file.")
  endif()
endforeach()
