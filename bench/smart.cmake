bayhal_add_bench(smart_bench ${CMAKE_CURRENT_LIST_DIR}/smart_bench.cpp)
target_link_libraries(smart_bench PRIVATE bayhal_halsim)
target_compile_definitions(smart_bench PRIVATE BAYHAL_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
