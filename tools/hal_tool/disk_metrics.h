// The disks' health in hal_tool metrics, taken from the SMART cache alone: no disk is asked
// anything, so a sleeping disk stays asleep and shows its last reading.
#pragma once
#include <string>
#include <utility>
#include <vector>

namespace hal_tool {

struct DiskHealth {
  int port = -1;
  bool cached = false;  // a reading is cached; nothing below is known otherwise
  int verdict = -1, temperature = -1, state = 0, warnings = 0;
  long long read_time = 0;
  // The warning-policy attributes the reading holds: id, name, raw value.
  struct Attr {
    unsigned id;
    std::string name;
    unsigned long long raw;
  };
  std::vector<Attr> watched;
};

// Every registered disk of the enclosure, in port order, as its cache has it.
std::vector<DiskHealth> read_disk_health(int enc_id);

// The disks' gauge families, labels enclosure and port: bayhal_disk_smart_cached for every
// disk, and for a cached reading the temperature, verdict, standby flag, time of reading,
// each warning (label attribute: an id of the policy, or "temperature") and the raw values of
// the policy's attributes (labels id, name).
void disk_openmetrics(std::string& out, const std::string& enc, const std::vector<DiskHealth>& disks);

}  // namespace hal_tool
