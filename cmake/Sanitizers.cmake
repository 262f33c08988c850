# What a sanitizer reports goes into a folder, whichever process it is that a test started, one that is killed or whose
# end nobody looks at, too. The test that ends the run shows the reports, and fails when there is one.

string(FIND "${CMAKE_CXX_FLAGS}" "-fsanitize=" VELMORATIDE_SANITIZED)
if(VELMORATIDE_SANITIZED EQUAL -1)
    set(VELMORATIDE_SANITIZED OFF)
    return()
endif()
set(VELMORATIDE_SANITIZED ON)

set(reports ${CMAKE_BINARY_DIR}/sanitizer-reports)
set(common "log_path=${reports}/report:log_exe_name=1")
# Of everything that ctest runs, and that this starts. Qt, glib, D-Bus and libpulse are not built for the thread
# sanitizer, and order what they share among themselves by means it does not see (futex calls, lists without locks): it
# is not to judge the malloc, memcpy or write that these libraries call. Their locks, and all our code does, count.
file(WRITE ${CMAKE_BINARY_DIR}/SanitizerOptions.cmake "
set(ENV{ASAN_OPTIONS} \"${common}:detect_stack_use_after_return=1:exitcode=99\")
set(ENV{UBSAN_OPTIONS} \"${common}:print_stacktrace=1\")
set(ENV{TSAN_OPTIONS} \"${common}:halt_on_error=1:second_deadlock_stack=1:exitcode=99:ignore_noninstrumented_modules=1\")
")
set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_BINARY_DIR}/SanitizerOptions.cmake)

add_test(NAME sanitizer.begins COMMAND sh -c "mkdir -p '${reports}' && rm -f '${reports}'/*")
set_tests_properties(sanitizer.begins PROPERTIES FIXTURES_SETUP sanitizer)
add_test(NAME sanitizer.hasReportedNothing COMMAND sh -c "! cat '${reports}'/* 2>/dev/null")
set_tests_properties(sanitizer.hasReportedNothing PROPERTIES FIXTURES_CLEANUP sanitizer)
