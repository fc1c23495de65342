# cmake --install: the shared library and the chain layer, the public
# headers, quorvex.pc and quorvex-chain.pc, and a CMake package config giving
# quorvex::quorvex and quorvex::chain.
include(CMakePackageConfigHelpers)

install(TARGETS quorvex quorvex_chain EXPORT quorvexTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/quorvex
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

install(EXPORT quorvexTargets NAMESPACE quorvex::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quorvex)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/quorvexConfig.cmake.in
  ${PROJECT_BINARY_DIR}/quorvexConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quorvex)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quorvexConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quorvexConfig.cmake
  ${PROJECT_BINARY_DIR}/quorvexConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quorvex)

configure_file(${PROJECT_SOURCE_DIR}/cmake/quorvex.pc.in ${PROJECT_BINARY_DIR}/quorvex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorvex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
configure_file(${PROJECT_SOURCE_DIR}/cmake/quorvex-chain.pc.in ${PROJECT_BINARY_DIR}/quorvex-chain.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorvex-chain.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
