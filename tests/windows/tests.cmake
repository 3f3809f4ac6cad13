# The tests as Windows programs: those of this folder, and all in the folder above that ask for nothing but the
# published operations. A file that includes from platform/ or demo/ or a POSIX header, or starts a program by popen,
# asks for more and stays native; so does what plans faults.

add_test(NAME Executable.isWhatWindowsExpects
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/executable.sh $<TARGET_FILE:QuorvelDeskClip>)
add_test(NAME Executable.isTheSameWhenBuiltElsewhere
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/reproducible.sh ${PROJECT_SOURCE_DIR}
                 ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/elsewhere)

set(googletest /usr/src/googletest/googletest)
find_program(WINE wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(NOT EXISTS ${googletest}/src/gtest-all.cc OR NOT WINE)
    message(STATUS "No tests: they need the sources of googletest, and Wine.")
    return()
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine.sh ${PROJECT_BINARY_DIR}/wine)

add_library(gtest STATIC ${googletest}/src/gtest-all.cc ${googletest}/src/gtest_main.cc)
target_include_directories(gtest SYSTEM PUBLIC ${googletest}/include PRIVATE ${googletest})
target_compile_options(gtest PRIVATE -w)

file(GLOB sources CONFIGURE_DEPENDS *.cpp windows/*.cpp scenarios/user.cpp)
set(shared)
set(tests)
foreach(source IN LISTS sources)
    file(STRINGS ${source} native_only REGEX
         "#include (\"(platform|demo)/|<(sys/.*|unistd|fcntl|poll)\\.h>)|popen\\(")
    if(native_only OR source MATCHES "/tests/main\\.cpp$|_fault_test\\.cpp$")
        continue()
    elseif(source MATCHES "_test\\.cpp$")
        list(APPEND tests ${source})
    else()
        list(APPEND shared ${source})
    endif()
endforeach()

add_library(shared_by_windows_tests STATIC ${shared})
target_link_libraries(shared_by_windows_tests PUBLIC gtest clip_program)
target_compile_definitions(shared_by_windows_tests PUBLIC PROGRAM_FILE="$<TARGET_FILE:QuorvelDeskClip>"
                           POINTER_FILE="${PROJECT_BINARY_DIR}/wine/pointer")

# Stands in for four libraries of the system, under whose names the user puts it into System32.
file(GLOB stand_in_sources CONFIGURE_DEPENDS windows/standin/*.cpp)
add_library(stand_in SHARED ${stand_in_sources})
target_link_libraries(stand_in PRIVATE gdi32)
target_compile_definitions(shared_by_windows_tests PUBLIC STAND_IN_LIBRARY="$<TARGET_FILE:stand_in>")
add_dependencies(shared_by_windows_tests stand_in)

# What follows the name are its sources. All share one desktop, one registry and one clipboard.
function(add_windows_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE shared_by_windows_tests)
    add_dependencies(${name} QuorvelDeskClip)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 TEST_PREFIX "${prefix}"
                         PROPERTIES TIMEOUT 300 RESOURCE_LOCK wine)
endfunction()

foreach(source IN LISTS tests)
    cmake_path(GET source STEM name)
    add_windows_test(${name} ${source})
endforeach()
file(GLOB scenarios CONFIGURE_DEPENDS scenarios/*_test.cpp)
set(prefix wine.)
add_windows_test(scenarios ${scenarios})
