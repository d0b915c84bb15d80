# What libraries that are not built for it do inside memcpy() and free() is theirs. A QProcess begins
# in its parent's memory, which then counts as forked.
string(CONCAT tsan_options "TSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/tsan.supp:"
  "ignore_noninstrumented_modules=1:die_after_fork=0")

# The environment that every test runs in: nothing of the machine's or the user's leaks in.
set(LUMIVERT_TEST_ENVIRONMENT
  "QT_QPA_PLATFORM=offscreen:configfile=${CMAKE_CURRENT_LIST_DIR}/screen.json"
  "QT_HASH_SEED=0"
  "TZ=UTC"
  "GTEST_COLOR=no"
  # A wrapped strndup() takes text without an end, which libxkbcommon has, for a mistake.
  "ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:intercept_strndup=0"
  "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/lsan.supp:print_suppressions=0"
  "${tsan_options}"
  "UBSAN_OPTIONS=print_stacktrace=1")

# lumivert_test(NAME sources...): a GoogleTest program `NAME`. Link what it tests with
# target_link_libraries(NAME PRIVATE …). Results are also written as XML below the build tree, where
# scripts/test counts them.
function(lumivert_test name)
  add_executable(${name} ${ARGN})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE lumivert_options GTest::gtest GTest::gmock)
  # Two thirds of a test's compile time are headers that it never changes.
  target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
  add_test(NAME ${name}
    COMMAND ${name} --gtest_output=xml:${PROJECT_BINARY_DIR}/test-results/${name}.xml)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${LUMIVERT_TEST_ENVIRONMENT}")
endfunction()
