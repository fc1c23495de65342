# The resampler is compared with two widely used converters; they are linked
# into the benchmarks only.
find_package(PkgConfig REQUIRED)
pkg_check_modules(QUORVEX_PEER_SOXR REQUIRED IMPORTED_TARGET soxr)
pkg_check_modules(QUORVEX_PEER_SAMPLERATE REQUIRED IMPORTED_TARGET samplerate)
target_link_libraries(quorvex_bench PRIVATE PkgConfig::QUORVEX_PEER_SOXR
                                            PkgConfig::QUORVEX_PEER_SAMPLERATE)
