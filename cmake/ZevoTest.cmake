# zevo_add_test(<name> SOURCES <file>... LIBRARIES <target>... [LABELS <label>...] [WRAPPER <command>...])
#
# One test program, run through tests/run-test-program: the crash handler ends a process with status 0 on any
# signal, so a status alone proves nothing; the runner also requires the framework's closing line.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  find_package(GTest REQUIRED)
else()
  # Debian ships no 32-bit GoogleTest; its sources are built instead.
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  add_library(GTest::gmock ALIAS gmock)
endif()

function(zevo_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES;LABELS;WRAPPER")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gmock GTest::gtest GTest::gtest_main zevo_options)
  add_test(NAME ${name}
    COMMAND ${PROJECT_SOURCE_DIR}/tests/run-test-program ${arg_WRAPPER} $<TARGET_FILE:${name}>)
  set_tests_properties(${name} PROPERTIES LABELS "${arg_LABELS}")
endfunction()
