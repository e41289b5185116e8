bayhal_add_fuzz(fuzz_fru_vpd ${CMAKE_CURRENT_LIST_DIR}/fru_vpd_fuzz.cpp)
