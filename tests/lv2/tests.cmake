# The LV2 bundle as hosts see it: Debian's lilv tools over the bundle in the
# build tree, and a small lilv host of the tests' own for what the tools
# cannot drive (odd block lengths, controls moved between blocks, a second
# instance).
if(TARGET quorvex_lv2)
  find_program(LV2APPLY lv2apply REQUIRED)
  pkg_check_modules(LILV REQUIRED IMPORTED_TARGET lilv-0)
  pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
  add_executable(quorvex_lv2_tests ${CMAKE_CURRENT_LIST_DIR}/Plugins_test.cpp)
  target_compile_definitions(quorvex_lv2_tests PRIVATE
    QUORVEX_LV2_PATH="${QUORVEX_LV2_PATH}")
  target_include_directories(quorvex_lv2_tests PRIVATE ${CMAKE_CURRENT_LIST_DIR}/..)
  target_link_libraries(quorvex_lv2_tests PRIVATE quorvex::chain PkgConfig::LILV
    PkgConfig::SNDFILE GTest::gtest GTest::gtest_main)
  add_dependencies(quorvex_lv2_tests quorvex_lv2)
  # lv2apply is not built with the sanitizers, so it cannot load a bundle
  # that is; the tests' own host can.
  if(QUORVEX_SANITIZE)
    set(QUORVEX_LV2_TEST_FILTER "-Lv2Apply.*")
  else()
    set(QUORVEX_LV2_TEST_FILTER "*")
  endif()
  gtest_discover_tests(quorvex_lv2_tests DISCOVERY_TIMEOUT 60
    TEST_FILTER "${QUORVEX_LV2_TEST_FILTER}"
    PROPERTIES ENVIRONMENT LV2_PATH=${QUORVEX_LV2_PATH})
endif()
