// The SMART settings store: "/etc/config/smart.conf" for enclosure 0 and
// "/etc/config/smart_<enc>.conf" for the others, all keys in section "SMART", one set per
// port ("Temperature Threshold 3", "HD 3 Last Test Type"). Readers never create it.
#pragma once
#include <string>

namespace bayhal::disk {

std::string smart_settings_file(int enc_id);

// The temperature threshold in °C: the stored one, else 55 (70 for a disk that does not
// rotate, by its record's capabilities).
int smart_temp_threshold(int enc_id, int port_id);

// Records a self-test just started: "HD <port> Last Test Type" and "... Last Test Time".
int smart_record_test(int enc_id, int port_id, int type, long long when);

}  // namespace bayhal::disk
