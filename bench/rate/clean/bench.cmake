# The clean converter is compared with libsoxr at its HQ setting, linked
# into the benchmarks only.
find_package(PkgConfig REQUIRED)
pkg_check_modules(QUORVEX_CLEAN_PEER_SOXR REQUIRED IMPORTED_TARGET soxr)
target_link_libraries(quorvex_bench PRIVATE PkgConfig::QUORVEX_CLEAN_PEER_SOXR)
