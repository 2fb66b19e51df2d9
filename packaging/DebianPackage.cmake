# Debian packages: zevolauncher and libzevo-framework-dev, made by `cpack` in a tree of the preset "package";
# `./zevo package` does both and checks the result.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zevolauncher)
set(CPACK_PACKAGE_VENDOR "The ZevoLauncher developers")
set(CPACK_PACKAGE_CONTACT "The ZevoLauncher developers <developers@zevolauncher.invalid>")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
# The configuration lies outside the prefix.
set(CPACK_SET_DESTDIR ON)

# Of the same length: the component's package has the same place.
set(CPACK_COMPONENTS_ALL Runtime Development)
set(CPACK_ZEVO_PACKAGES zevolauncher libzevo-framework-dev)
set(CPACK_ZEVO_PACKAGING ${CMAKE_CURRENT_SOURCE_DIR})
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian/needs-tools.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/finish.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME zevolauncher)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION net)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "starts the connection manager when its USB modem is plugged in
It waits in the background of a desktop session for one modem, and opens the
connection manager and its notifier when that modem is there.")
# What an administrator edits survives an upgrade.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/conffiles)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzevo-framework-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libudev-dev, libplist-dev, pkgconf")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "framework of the launcher: tracing, logging, property lists, ...
Static libraries and headers for call tracing, levelled logging, threads,
exceptions, property lists, parameter files and USB hot-plug, with a CMake
package.")

include(CPack)
