# Builds for macOS on another system, with clang, lld and LLVM's tools:
#
#     cmake --toolchain cmake/ZevoDarwinToolchain.cmake -DCMAKE_OSX_SYSROOT=SDK [-DCMAKE_OSX_ARCHITECTURES=x86_64;arm64]
#
# SDK is a folder in the form of Apple's (System/Library/Frameworks, usr/include, usr/lib). ZEVO_DARWIN_CXX_HEADERS
# names the folders of a libc++ other than the compiler's own, the first one searched first.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 11) # of the kernel; the version of macOS is CMAKE_OSX_DEPLOYMENT_TARGET
include(${CMAKE_CURRENT_LIST_DIR}/ZevoMacFloor.cmake)

find_program(ZEVO_CLANG clang REQUIRED)
find_program(ZEVO_CLANGXX clang++ REQUIRED)
mark_as_advanced(ZEVO_CLANG ZEVO_CLANGXX)
set(CMAKE_C_COMPILER ${ZEVO_CLANG})
set(CMAKE_OBJC_COMPILER ${ZEVO_CLANG})
set(CMAKE_CXX_COMPILER ${ZEVO_CLANGXX})
set(CMAKE_OBJCXX_COMPILER ${ZEVO_CLANGXX})

# Distributions install LLVM's newer tools under their plain names only in the compiler's own folder.
file(REAL_PATH ${ZEVO_CLANG} clang)
cmake_path(GET clang PARENT_PATH llvm_tools)
function(zevo_llvm_tool variable name)
  find_program(${variable} ${name} HINTS ${llvm_tools} REQUIRED)
  mark_as_advanced(${variable})
endfunction()
zevo_llvm_tool(CMAKE_AR llvm-ar)
zevo_llvm_tool(CMAKE_RANLIB llvm-ranlib)
zevo_llvm_tool(CMAKE_NM llvm-nm)
zevo_llvm_tool(CMAKE_OBJDUMP llvm-objdump)
zevo_llvm_tool(CMAKE_STRIP llvm-strip)
zevo_llvm_tool(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool)
zevo_llvm_tool(ZEVO_LIPO llvm-lipo)
zevo_llvm_tool(ZEVO_LIBTOOL llvm-libtool-darwin)

# The compiler calls a program named lipo when it compiles for several processors at once.
set(zevo_tools ${CMAKE_BINARY_DIR}/CMakeFiles/darwin-tools)
file(MAKE_DIRECTORY ${zevo_tools})
file(CREATE_LINK ${ZEVO_LIPO} ${zevo_tools}/lipo SYMBOLIC)

foreach(language C CXX OBJC OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-apple-macosx) # the option -arch selects the processor
  string(APPEND CMAKE_${language}_FLAGS_INIT " \"-B${zevo_tools}\"")
  # llvm-ar cannot write an archive for several processors.
  set(CMAKE_${language}_CREATE_STATIC_LIBRARY
    "<CMAKE_COMMAND> -E rm -f <TARGET>" "\"${ZEVO_LIBTOOL}\" -static -o <TARGET> <OBJECTS>")
endforeach()
foreach(language CXX OBJCXX)
  if(ZEVO_DARWIN_CXX_HEADERS)
    string(APPEND CMAKE_${language}_FLAGS_INIT " --start-no-unused-arguments -nostdinc++ --end-no-unused-arguments")
    list(TRANSFORM ZEVO_DARWIN_CXX_HEADERS REPLACE "(.+)" " -isystem \"\\1\"" OUTPUT_VARIABLE folders)
    string(APPEND CMAKE_${language}_FLAGS_INIT ${folders})
  endif()
  if("i386" IN_LIST CMAKE_OSX_ARCHITECTURES)
    # A libc++ that still supports i386 mentions aligned allocation, which macOS 10.7 lacks, without calling it.
    string(APPEND CMAKE_${language}_FLAGS_INIT " -fno-aligned-allocation")
  endif()
endforeach()
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -nostartfiles") # lld itself sets main as the entry point
endforeach()
if("i386" IN_LIST CMAKE_OSX_ARCHITECTURES)
  set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # no maintained linker links for i386
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZEVO_DARWIN_CXX_HEADERS)

# Libraries, headers and packages are searched only in the SDK, never on the building machine.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_OSX_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
