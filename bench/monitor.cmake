bayhal_add_bench(monitor_bench ${CMAKE_CURRENT_LIST_DIR}/monitor_bench.cpp
  ${CMAKE_SOURCE_DIR}/tools/hal_tool/monitor_readings.cpp)
target_link_libraries(monitor_bench PRIVATE bayhal_sim)
