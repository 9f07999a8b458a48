# The test framework, built from the source that the system's package brings: its expectations serve unit tests and
# fuzzers, its main the unit tests.
find_path(GTEST_SOURCE src/gtest-all.cc PATHS /usr/src/googletest/googletest REQUIRED NO_CMAKE_FIND_ROOT_PATH)
add_library(gtest STATIC ${GTEST_SOURCE}/src/gtest-all.cc)
target_include_directories(gtest SYSTEM PUBLIC ${GTEST_SOURCE}/include PRIVATE ${GTEST_SOURCE})
target_link_libraries(gtest PRIVATE vfl_options)
target_compile_options(gtest PRIVATE -w)
add_library(gtest_main STATIC ${GTEST_SOURCE}/src/gtest_main.cc)
target_link_libraries(gtest_main PUBLIC gtest PRIVATE vfl_options)
target_compile_options(gtest_main PRIVATE -w)
