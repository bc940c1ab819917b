# Read by ctest, for one GoogleTest program: each test suite becomes one test, which runs in one process, since starting
# 1,500 processes takes longer than most of their tests. What fails is told by GoogleTest. Expects
#   NAME       of the program, which the names of its tests begin with
#   PROGRAM    its path
#   SUITES     the path of a file that keeps what the program answered when it was asked for its suites
#   PROPERTIES of the tests
if(NOT EXISTS "${PROGRAM}")
    add_test(${NAME}_NOT_BUILT ${NAME}_NOT_BUILT)
    return()
endif()
if("${PROGRAM}" IS_NEWER_THAN "${SUITES}")
    execute_process(COMMAND "${PROGRAM}" --gtest_list_tests OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE "${SUITES}" "${listed}")
endif()
file(STRINGS "${SUITES}" listed REGEX "^[^ ]+\\.") # Below each suite stand its tests, indented.
foreach(line IN LISTS listed)
    string(REGEX REPLACE "\\..*" "" suite "${line}")
    add_test("${NAME}.${suite}" "${PROGRAM}" "--gtest_filter=${suite}.*" --gtest_brief=1)
    set_tests_properties("${NAME}.${suite}" PROPERTIES ${PROPERTIES})
endforeach()
