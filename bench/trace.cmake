bayhal_add_bench(trace_bench ${CMAKE_CURRENT_LIST_DIR}/trace_bench.cpp)
