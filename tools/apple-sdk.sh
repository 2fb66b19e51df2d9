# shellcheck shell=bash
# Functions for an SDK, which the checks for macOS share. They source this file, and define fail.

# The oldest macOS, as the build defines it.
oldest_macos() { sed -n 's/.*set(CMAKE_OSX_DEPLOYMENT_TARGET \([0-9.]*\) .*/\1/p' "$top/cmake/ZevoMacFloor.cmake"; }

# find_sdk FOLDER: sets sdk, and its folders frameworks, include and stubs.
find_sdk() {
    [ -d "$1" ] || fail "there is no folder $1"
    sdk=$(cd "$1" && pwd -P)
    frameworks=$sdk/Frameworks include=$sdk/include stubs=$sdk/lib
    if [ -d "$sdk/System/Library/Frameworks" ]; then
        frameworks=$sdk/System/Library/Frameworks include=$sdk/usr/include stubs=$sdk/usr/lib
    fi
    if [ ! -d "$frameworks/CoreFoundation.framework" ] || [ ! -f "$include/TargetConditionals.h" ]; then
        fail "$sdk holds no Apple headers (System/Library/Frameworks and usr/include, or Frameworks and include)"
    fi
}

# find_cxx_library CLANG: sets cxx_library to the headers of libc++, the compiler's own if it has them.
find_cxx_library() {
    local folder
    cxx_library=""
    for folder in "$("$1" -print-resource-dir)/../../../include/c++/v1" /usr/include/c++/v1 "$include/c++/v1"; do
        [ -f "$folder/vector" ] || continue
        cxx_library=$folder
        return
    done
    fail "libc++'s headers are not installed; packages.txt names their package"
}

# check_older_library FOLDER: fails unless it contains the headers of an older libc++.
check_older_library() { [ -f "$1/vector" ] || fail "$1 holds no headers of a C++ library: it lacks the file vector"; }

# cxx_folders LIBRARY SCRATCH: the include folders for the C++ library, one per line. SCRATCH, in front, gets
# what the library lacks:
#  - Distributions build libc++ without its annotations for systems that lack a part of it; a copy of its settings
#    switches these on again.
#  - The sources of an older libc++ lack those of its ABI library, whose header the tests' framework includes.
cxx_folders() {
    local settings=$1/__config_site file
    mkdir -p "$2"
    if [ -f "$settings" ]; then
        sed -e '/define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS/d' \
            -e 's/\(define _LIBCPP_HAS_VENDOR_AVAILABILITY_ANNOTATIONS\) 0/\1 1/' "$settings" >"$2/__config_site"
        touch -r "$settings" "$2/__config_site"
    fi
    for file in cxxabi.h __cxxabi_config.h; do
        if [ ! -f "$1/$file" ] && [ -f "$cxx_library/$file" ]; then cp -p "$cxx_library/$file" "$2"; fi
    done
    printf '%s\n' "$2" "$1"
}
