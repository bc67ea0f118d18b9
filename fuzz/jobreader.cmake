# The job reader, with the fuzzer's instrumentation.
file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/kestojob/reader/*.cpp)
add_library(fuzz_jobreader_library STATIC ${sources})
target_include_directories(fuzz_jobreader_library PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src
                                                         ${PROJECT_SOURCE_DIR}/tools)
target_compile_options(fuzz_jobreader_library PUBLIC -fsanitize=fuzzer-no-link,address,undefined
                                                     -fno-sanitize-recover=all -fno-omit-frame-pointer -g -O1)
target_link_libraries(fuzz_jobreader_library PUBLIC JPEG::JPEG)

add_executable(fuzz_jobseeds fuzz_jobseeds.cpp)
target_include_directories(fuzz_jobseeds PRIVATE ${PROJECT_SOURCE_DIR}/tests)
set(jobreader_corpus ${CMAKE_CURRENT_BINARY_DIR}/corpus/fuzz_jobreader)
add_custom_command(TARGET fuzz_jobseeds POST_BUILD COMMAND fuzz_jobseeds ${jobreader_corpus} VERBATIM)

add_executable(fuzz_jobreader fuzz_jobreader.cpp)
target_link_libraries(fuzz_jobreader PRIVATE fuzz_jobreader_library)
target_link_options(fuzz_jobreader PRIVATE -fsanitize=fuzzer,address,undefined)
add_dependencies(fuzz_jobreader fuzz_jobseeds)
# A job costs about ten times what an answer does.
math(EXPR jobreader_runs "${KESTO_FUZZ_RUNS} / 10")
add_test(NAME fuzz/fuzz_jobreader
         COMMAND fuzz_jobreader -runs=${jobreader_runs} -timeout=5 -rss_limit_mb=1024 -max_len=8192
                 -dict=${CMAKE_CURRENT_SOURCE_DIR}/jobreader.dict ${jobreader_corpus})
set_tests_properties(fuzz/fuzz_jobreader PROPERTIES TIMEOUT 3600)
