# The chain's own time for the Python package's overhead figure
# (overhead.py): the chain layer alone, as the package and the tool run it.
if(TARGET _quorvex)
  add_executable(quorvex_chain_runner_bench ${CMAKE_CURRENT_LIST_DIR}/chain_runner.cpp)
  target_link_libraries(quorvex_chain_runner_bench PRIVATE quorvex::chain)
endif()
