// Plain file helpers for tests (host paths, no system root).
#pragma once
#include <string>
#include <string_view>

namespace bayhal::test {

void write_file(const std::string& path, std::string_view content);
std::string read_file(const std::string& path);
// Directory of checked-in test data (tests/data), from BAYHAL_TEST_DATA.
std::string test_data_dir();

}  // namespace bayhal::test
