bayhal_add_bench(disk_store_bench ${CMAKE_CURRENT_LIST_DIR}/disk_store_bench.cpp)
