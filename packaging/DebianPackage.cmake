# Debian packages: zevolauncher, zevolauncher-tools, zevo-sim, libzevo-framework-dev and zevolauncher-doc, made by `cpack`
# in a tree of the preset "package"; `./zevo package` does both and checks the result.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zevolauncher)
set(CPACK_PACKAGE_VENDOR "The ZevoLauncher developers")
set(CPACK_PACKAGE_CONTACT "The ZevoLauncher developers <developers@zevolauncher.invalid>")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
# The configuration is installed outside the prefix.
set(CPACK_SET_DESTDIR ON)

# Parallel lists: a component and its package have the same index.
set(CPACK_COMPONENTS_ALL Runtime Tools Development Documents)
set(CPACK_ZEVO_PACKAGES zevolauncher zevolauncher-tools libzevo-framework-dev zevolauncher-doc)
if(TARGET zevo-sim)
  list(APPEND CPACK_COMPONENTS_ALL Simulator)
  list(APPEND CPACK_ZEVO_PACKAGES zevo-sim)
endif()
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
# An upgrade keeps an administrator's changes to these files.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/conffiles)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS zevolauncher-tools)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "zevolauncher-doc, zevo-sim")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zevolauncher-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
# `zevo-check new` reads the ids of modems from it.
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS usb-modeswitch-data)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS zevolauncher-doc)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "tells what the launcher of a USB modem does, and what keeps it from it
zevo-check tells what is wrong with an installation, mends it, makes one for
a modem, and gathers what a support ticket needs. zevo-trace tells from traces
and logs what happened. Neither needs the launcher itself.")

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME zevo-sim)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SHLIBDEPS ON)
# Its library is preloaded into the programs on the bus. No program is linked with it, so dpkg-shlibdeps misses it.
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_DEPENDS umockdev)
# It knows modems by their names.
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_RECOMMENDS usb-modeswitch-data)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SUGGESTS "zevolauncher, zevolauncher-doc")
set(CPACK_COMPONENT_SIMULATOR_DESCRIPTION "virtual USB bus for trying the launcher without hardware
zevo-sim gives a program a USB bus of its own, onto which modems are plugged,
switched and unplugged by commands or by a script with expectations. It needs
no launcher: any program that reads udev can be run on the bus.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzevo-framework-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libudev-dev, libplist-dev, pkgconf")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "framework of the launcher: tracing, logging, property lists, ...
Static libraries and headers for call tracing, levelled logging, threads,
exceptions, property lists, parameter files and USB hot-plug, with a CMake
package.")

set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_NAME zevolauncher-doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_DOCUMENTS_DESCRIPTION "documents of the launcher, its tools and its framework
How to configure and to ship it, what to look at when nothing starts, what
stands in traces and logs, a page for each tool, and one for each use of the
framework.")

include(CPack)
