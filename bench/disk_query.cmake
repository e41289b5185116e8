bayhal_add_bench(disk_query_bench ${CMAKE_CURRENT_LIST_DIR}/disk_query_bench.cpp)
