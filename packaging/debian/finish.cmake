# cpack runs this before it packs: adds the files that only a Debian package has, in the form that Debian requires.
file(STRINGS ${CPACK_ZEVO_PACKAGING}/debian/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^zevolauncher \\(${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}\\) ")
  message(FATAL_ERROR "packaging/debian/changelog begins with another version than "
                      "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}: ${newest}")
endif()

function(compress file)
  # -n stores no time, so that the same content makes the same package.
  execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component package IN ZIP_LISTS CPACK_COMPONENTS_ALL CPACK_ZEVO_PACKAGES)
  set(stage ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  set(documents ${stage}/doc/${package})
  file(COPY ${CPACK_ZEVO_PACKAGING}/debian/copyright DESTINATION ${documents})
  configure_file(${CPACK_ZEVO_PACKAGING}/debian/changelog ${documents}/changelog.Debian COPYONLY)
  compress(${documents}/changelog.Debian)
  configure_file(${CPACK_ZEVO_PACKAGING}/../CHANGELOG.md ${documents}/changelog COPYONLY)
  compress(${documents}/changelog)
  file(GLOB pages ${stage}/man/*/*.[1-8])
  foreach(page IN LISTS pages)
    compress(${page})
  endforeach()
endforeach()
