# zevo_add_test(<name> SOURCES <file>... LIBRARIES <target>... [LABELS <label>...] [WRAPPER <command>...]
#               [SECONDS <n>])
#
# One GoogleTest program, run through tests/run-test-program: the crash handler ends a process with status 0 on
# any signal, so a status alone proves nothing; the runner also requires the framework's closing lines, and that
# nothing is left behind. SECONDS bounds one run (default 300; three times as long under a sanitizer).
#
# zevo_add_script_test(<name> SCRIPT <file> [LABELS <label>...] [ARGUMENTS <argument>...] [SECONDS <n>])
#
# The same for a script that prints "ok" and "not ok" lines and ends with its plan, "1..N".
#
# zevo_substitute(<name> <call>...)
#
# In the program's own code, replaces these system calls by the functions that it defines with SUBSTITUTE (Substitute.h).
if(CMAKE_SIZEOF_VOID_P EQUAL 8 AND NOT CMAKE_CROSSCOMPILING)
  find_package(GTest REQUIRED)
else()
  # Distributions package GoogleTest neither for 32 bits nor for another system, so it is built from its sources.
  set(ZEVO_GOOGLETEST_SOURCES /usr/src/googletest CACHE PATH "GoogleTest's sources, where no package of it can be used")
  add_subdirectory(${ZEVO_GOOGLETEST_SOURCES} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()

# Further options for test programs. Linked after zevo_options, because a later warning option overrides an earlier one.
add_library(zevo_test_options INTERFACE)
# As in the product: in a 32-bit build, system calls must not fail for files with large inode numbers.
target_compile_definitions(zevo_test_options INTERFACE _FILE_OFFSET_BITS=64)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(zevo_test_options INTERFACE -Wno-gnu-zero-variadic-macro-arguments)
  # GCC predefines these macros under a sanitizer, clang does not.
  foreach(sanitizer address thread)
    if(ZEVO_SANITIZE MATCHES ${sanitizer})
      string(TOUPPER __SANITIZE_${sanitizer}__ macro)
      target_compile_definitions(zevo_test_options INTERFACE ${macro}=1)
    endif()
  endforeach()
endif()
if(ZEVO_FUZZ)
  target_compile_options(zevo_test_options INTERFACE -fno-sanitize=fuzzer-no-link) # only the code under test is instrumented
endif()
if(ZEVO_JOIN_SOURCES AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC takes joined sources for headers and warns of the anonymous namespaces in them. The builds that compile each
  # source alone keep the warning.
  target_compile_options(zevo_test_options INTERFACE -Wno-subobject-linkage)
endif()
if(ZEVO_SANITIZE)
  # Optimisation would double the time to compile instrumented tests. The code under test is optimised.
  target_compile_options(zevo_test_options INTERFACE -O0)
endif()

# GoogleTest's headers take a third of a test's compile time, so they are precompiled once for all programs. This is not
# possible for several processors at once: each needs its own precompiled header, compiled without the other's options.
list(LENGTH CMAKE_OSX_ARCHITECTURES processors)
set(test_headers_source ${CMAKE_CURRENT_BINARY_DIR}/test-headers.cpp)
if(NOT EXISTS ${test_headers_source})
  file(WRITE ${test_headers_source} "// Nothing: what is precompiled has to belong to a source.\n")
endif()
add_library(zevo_test_headers OBJECT ${test_headers_source})
target_link_libraries(zevo_test_headers PRIVATE GTest::gmock GTest::gtest zevo_options zevo_test_options)
if(processors LESS 2)
  target_precompile_headers(zevo_test_headers PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:<gtest/gtest.h$<ANGLE-R>> $<$<COMPILE_LANGUAGE:CXX>:<gmock/gmock.h$<ANGLE-R>>)
endif()

function(zevo_run_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SECONDS" "LABELS;RUNNER_OPTIONS;COMMAND")
  if(NOT arg_SECONDS)
    set(arg_SECONDS 300)
  endif()
  if(ZEVO_SANITIZE)
    math(EXPR arg_SECONDS "3 * ${arg_SECONDS}")
  endif()
  # The runner ends a hung program and shows its output; CTest's own timeout is for a runner that hangs.
  math(EXPR outer_bound "${arg_SECONDS} + 60")
  add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/run-test-program
    --name ${name} --seconds ${arg_SECONDS} ${arg_RUNNER_OPTIONS} ${arg_COMMAND})
  set_tests_properties(${name} PROPERTIES LABELS "${arg_LABELS}" TIMEOUT ${outer_bound})
endfunction()

function(zevo_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SECONDS" "SOURCES;LIBRARIES;LABELS;WRAPPER")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} zevo_test_support GTest::gmock GTest::gtest GTest::gtest_main
    zevo_options zevo_test_options)
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}) # for sources in MAC/ or LINUX/
  if(ZEVO_JOIN_SOURCES)
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  endif()
  get_target_property(precompiled zevo_test_headers PRECOMPILE_HEADERS)
  if(precompiled AND NOT arg_SOURCES MATCHES "\\.mm") # they are for C++ only
    target_precompile_headers(${name} REUSE_FROM zevo_test_headers)
  endif()
  zevo_run_test(${name} SECONDS ${arg_SECONDS} LABELS ${arg_LABELS} COMMAND ${arg_WRAPPER} $<TARGET_FILE:${name}>)
endfunction()

function(zevo_substitute name)
  if(ZEVO_HOST_FOLDER STREQUAL "LINUX")
    list(TRANSFORM ARGN PREPEND LINKER:--wrap=)
    target_link_options(${name} PRIVATE ${ARGN})
  endif()
endfunction()

function(zevo_add_script_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SECONDS;SCRIPT" "LABELS;ARGUMENTS")
  zevo_run_test(${name} SECONDS ${arg_SECONDS} LABELS ${arg_LABELS} RUNNER_OPTIONS --tap
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/${arg_SCRIPT} ${arg_ARGUMENTS})
endfunction()
