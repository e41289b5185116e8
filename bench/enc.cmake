bayhal_add_bench(enc_list_bench ${CMAKE_CURRENT_LIST_DIR}/enc_list_bench.cpp)
