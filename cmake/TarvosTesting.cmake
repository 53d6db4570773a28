# Test helpers: Wine prefixes as CTest fixtures, and tests that run inside one.
include(GoogleTest)

# tarvos_add_wine_prefix(<fixture> DIR <dir> [REG_FILES f.reg ...] [DEPENDS ...])
# A fresh prefix at <dir>, made once per CTest run with one persistent wineserver, and
# stopped at the end. The .reg files (Windows paths inside as Z:\...) are imported after boot.
function(tarvos_add_wine_prefix FIXTURE)
    cmake_parse_arguments(ARG "" "DIR" "REG_FILES" ${ARGN})
    add_test(NAME ${FIXTURE}.setup
             COMMAND ${CMAKE_SOURCE_DIR}/tests/harness/wineprefix.sh setup ${ARG_DIR} ${ARG_REG_FILES})
    add_test(NAME ${FIXTURE}.cleanup COMMAND ${CMAKE_SOURCE_DIR}/tests/harness/wineprefix.sh cleanup ${ARG_DIR})
    set_tests_properties(${FIXTURE}.setup PROPERTIES FIXTURES_SETUP ${FIXTURE} TIMEOUT 300)
    set_tests_properties(${FIXTURE}.cleanup PROPERTIES FIXTURES_CLEANUP ${FIXTURE})
    set_property(GLOBAL PROPERTY TARVOS_PREFIX_DIR_${FIXTURE} ${ARG_DIR})
endfunction()

# Environment and fixture for tests that run in the prefix of <fixture>.
function(tarvos_wine_test_properties FIXTURE)
    get_property(dir GLOBAL PROPERTY TARVOS_PREFIX_DIR_${FIXTURE})
    set_tests_properties(${ARGN} PROPERTIES
        FIXTURES_REQUIRED ${FIXTURE}
        ENVIRONMENT "WINEPREFIX=${dir};WINEDEBUG=-all;WINEDLLOVERRIDES=mscoree,mshtml=;DISPLAY="
        TIMEOUT 120)
endfunction()

# The tests of a GoogleTest program run under Wine through wine-launch.sh, which makes a start
# that Wine fails before the program writes anything once more.
function(tarvos_wine_launcher TARGET)
    if(WINE_EXECUTABLE)
        set_target_properties(${TARGET} PROPERTIES CROSSCOMPILING_EMULATOR
            "${CMAKE_SOURCE_DIR}/tests/harness/wine-launch.sh;${WINE_EXECUTABLE}")
    endif()
endfunction()

# tarvos_add_gtest(<target> PREFIX <fixture> SOURCES ... [LIBS ...] [SUPPORT ...] [DEFINES ...]
#                  [TEST_PREFIX <prefix>])
# A GoogleTest program; each TEST becomes one CTest test run under Wine in the prefix. SUPPORT
# sources are compiled in without being searched for tests; TEST_PREFIX goes before each name.
function(tarvos_add_gtest TARGET)
    cmake_parse_arguments(ARG "" "PREFIX;TEST_PREFIX" "SOURCES;LIBS;SUPPORT;DEFINES" ${ARGN})
    add_executable(${TARGET} ${ARG_SOURCES} ${ARG_SUPPORT})
    target_link_libraries(${TARGET} PRIVATE ${ARG_LIBS} GTest::gtest_main)
    target_compile_definitions(${TARGET} PRIVATE ${ARG_DEFINES})
    set_target_properties(${TARGET} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
    tarvos_wine_launcher(${TARGET})
    gtest_add_tests(TARGET ${TARGET} SOURCES ${ARG_SOURCES} TEST_PREFIX "${ARG_TEST_PREFIX}"
                    TEST_LIST tests_of_target)
    tarvos_wine_test_properties(${ARG_PREFIX} ${tests_of_target})
endfunction()

# A Windows path (Z:\...) for a Linux path, as Wine maps the root file system.
function(tarvos_windows_path OUT PATH)
    string(REPLACE "/" "\\" p "${PATH}")
    set(${OUT} "Z:${p}" PARENT_SCOPE)
endfunction()
