# cpack reads this first. Without these programs it would only warn, and make packages without dependencies.
foreach(program dpkg-shlibdeps file)
  find_program(found_${program} ${program} NO_CMAKE_SYSTEM_PATH NO_CACHE)
  if(NOT found_${program})
    message(FATAL_ERROR "Debian packages need ${program}, which names what they depend on. "
                        "Debian: apt-get install dpkg-dev file.")
  endif()
endforeach()
