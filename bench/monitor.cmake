bayhal_add_bench(monitor_bench ${CMAKE_CURRENT_LIST_DIR}/monitor_bench.cpp
  ${CMAKE_SOURCE_DIR}/tools/hal_tool/monitor_readings.cpp
  ${CMAKE_SOURCE_DIR}/tools/hal_tool/openmetrics_text.cpp
  ${CMAKE_SOURCE_DIR}/tools/hal_tool/disk_metrics.cpp
  ${CMAKE_SOURCE_DIR}/tools/hal_tool/words.cpp)
target_link_libraries(monitor_bench PRIVATE bayhal_sim)
