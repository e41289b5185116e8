# The INI text parser and editor, fed arbitrary bytes.
bayhal_add_fuzz(fuzz_ini_parser ${CMAKE_CURRENT_LIST_DIR}/ini_parser_fuzz.cpp)
