# The configuration store against its floors, with Debian's inih as the peer.
find_package(PkgConfig REQUIRED)
pkg_check_modules(INIH REQUIRED IMPORTED_TARGET inih)
bayhal_add_bench(bench_ini_store ini_store_bench.cpp)
target_link_libraries(bench_ini_store PRIVATE PkgConfig::INIH)
