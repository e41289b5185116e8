bayhal_add_bench(board_bench ${CMAKE_CURRENT_LIST_DIR}/board_bench.cpp)
target_link_libraries(board_bench PRIVATE bayhal_sim)
