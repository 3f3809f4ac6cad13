# The parity table in both translations. The compiler for Windows is needed even where nothing else is built for it.

find_program(WINDOWS_COMPILER x86_64-w64-mingw32-g++-posix REQUIRED)
find_program(WINDOWS_OBJCOPY x86_64-w64-mingw32-objcopy REQUIRED)
set(parity_folder ${CMAKE_CURRENT_BINARY_DIR}/parity)
set(parity_source ${CMAKE_CURRENT_LIST_DIR}/table.cpp)
set(parity_options -std=c++20 -DUNICODE -D_UNICODE -I${PROJECT_SOURCE_DIR} -I${parity_folder} -c ${parity_source})
file(MAKE_DIRECTORY ${parity_folder})
file(GLOB layer_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/platform/include/*.h
     ${PROJECT_SOURCE_DIR}/platform/include/layer/*.h)

add_custom_command(
    OUTPUT ${parity_folder}/rows.inc
    COMMAND awk -f ${CMAKE_CURRENT_LIST_DIR}/rows.awk ${layer_headers} > ${parity_folder}/rows.inc
    DEPENDS ${CMAKE_CURRENT_LIST_DIR}/rows.awk ${layer_headers} VERBATIM)

function(add_parity_table name compiler objcopy)
    add_custom_command(
        OUTPUT ${parity_folder}/${name}.table
        COMMAND ${compiler} ${parity_options} ${ARGN} -o ${parity_folder}/${name}.o
        COMMAND ${objcopy} -O binary -j parity ${parity_folder}/${name}.o ${parity_folder}/${name}.table
        DEPENDS ${parity_folder}/rows.inc ${parity_source} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/row.h VERBATIM)
endfunction()
add_parity_table(layer ${CMAKE_CXX_COMPILER} ${CMAKE_OBJCOPY} -I${PROJECT_SOURCE_DIR}/platform/include)
add_parity_table(windows ${WINDOWS_COMPILER} ${WINDOWS_OBJCOPY})

add_executable(parity_test ${CMAKE_CURRENT_LIST_DIR}/parity_test.cpp
               ${parity_folder}/layer.table ${parity_folder}/windows.table)
target_compile_definitions(parity_test PRIVATE LAYER_TABLE="${parity_folder}/layer.table"
                           WINDOWS_TABLE="${parity_folder}/windows.table")
target_link_libraries(parity_test PRIVATE GTest::gtest_main)
gtest_discover_tests(parity_test)
