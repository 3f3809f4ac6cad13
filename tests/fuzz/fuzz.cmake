# Each *_fuzz.cpp as a fuzzer of its own. ctest lets it run for a while; started by hand, as
#     build/native/tests/ledger_fuzz build/native/tests/corpus tests/fuzz/seeds
# it runs until Ctrl+C or a failure. What it learns stays in the corpus. The folders of the program that it tests are
# compiled with it, so that the fuzzer sees their branches.

file(GLOB targets CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*_fuzz.cpp)
collect_files(folders store common)
file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/corpus)
foreach(source IN LISTS targets)
    cmake_path(GET source STEM name)
    add_custom_command(
        OUTPUT ${name}
        COMMAND ${CLANG} -std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
                -DUNICODE -D_UNICODE -I${PROJECT_SOURCE_DIR} -include platform/sdk/sdk.h -idirafter ${SDK_HEADERS}
                ${source} ${folders} $<TARGET_FILE:platform> $<TARGET_FILE:resource_block>
                ${layer_libraries_LDFLAGS} -pthread -o ${name}
        DEPENDS ${source} ${folders} platform resource_block
        VERBATIM)
    add_custom_target(build_${name} ALL DEPENDS ${name})
    add_test(NAME Fuzz.${name} COMMAND ${name} -max_total_time=20 -max_len=1000 -verbosity=0 -print_final_stats=1
             corpus ${CMAKE_CURRENT_LIST_DIR}/seeds)
    set_tests_properties(Fuzz.${name} PROPERTIES TIMEOUT 120)
endforeach()
