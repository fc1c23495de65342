# End-to-end tests of the command-line tool: they write audio files of their
# own, run the built quorvex on them and check what comes out.
if(TARGET quorvex_cli)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
  file(GLOB_RECURSE QUORVEX_TOOL_TEST_SOURCES CONFIGURE_DEPENDS
    ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
  add_executable(quorvex_tool_tests ${QUORVEX_TOOL_TEST_SOURCES})
  target_compile_definitions(quorvex_tool_tests PRIVATE
    QUORVEX_CLI_PATH="$<TARGET_FILE:quorvex_cli>")
  target_link_libraries(quorvex_tool_tests PRIVATE PkgConfig::SNDFILE GTest::gtest GTest::gtest_main)
  add_dependencies(quorvex_tool_tests quorvex_cli)
  gtest_discover_tests(quorvex_tool_tests DISCOVERY_TIMEOUT 60)
endif()
