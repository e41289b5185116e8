bayhal_add_fuzz(fuzz_smbios ${CMAKE_CURRENT_LIST_DIR}/smbios_fuzz.cpp)
