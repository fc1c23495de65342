# The steady-state allocation check counts every heap allocation by
# interposing malloc and its relatives in its own executable. The sanitizers
# interpose the same functions, so the check only exists without them.
if(NOT QUORVEX_SANITIZE)
  add_executable(quorvex_allocation_tests
    ${CMAKE_CURRENT_LIST_DIR}/steady_state/AllocationCounter.cpp
    ${CMAKE_CURRENT_LIST_DIR}/steady_state/SteadyState.cpp)
  target_include_directories(quorvex_allocation_tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(quorvex_allocation_tests PRIVATE
    quorvex_static GTest::gtest GTest::gtest_main)
  gtest_discover_tests(quorvex_allocation_tests DISCOVERY_TIMEOUT 60)
endif()
