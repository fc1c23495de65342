# The chain layer through its public header and shared library alone, as a
# front end uses it.
add_executable(quorvex_chain_tests
  ${CMAKE_CURRENT_LIST_DIR}/ChainText_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Runner_test.cpp)
target_include_directories(quorvex_chain_tests PRIVATE ${CMAKE_CURRENT_LIST_DIR}/..)
target_link_libraries(quorvex_chain_tests PRIVATE quorvex::chain GTest::gtest GTest::gtest_main)
gtest_discover_tests(quorvex_chain_tests DISCOVERY_TIMEOUT 60)
