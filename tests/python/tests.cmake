# The Python package through pytest, importing it from the build tree; the
# tool is there to compare against.
if(TARGET _quorvex AND TARGET quorvex_cli)
  add_test(NAME python_package
    COMMAND ${Python3_EXECUTABLE} -m pytest -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR})
  set_tests_properties(python_package PROPERTIES ENVIRONMENT
    "PYTHONPATH=${PROJECT_BINARY_DIR}/python;QUORVEX_CLI=$<TARGET_FILE:quorvex_cli>")
endif()
