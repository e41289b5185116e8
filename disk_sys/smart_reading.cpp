#include "disk_sys/smart_reading.h"

#include <cstdio>

namespace bayhal {

void SmartReading::add(unsigned id, const char* name, unsigned long long raw, unsigned value,
                       unsigned worst, unsigned threshold, unsigned flags) {
  PD_SMART_ATTR a{};
  a.id = id;
  std::snprintf(a.name, sizeof a.name, "%s", name);
  a.status_flag = static_cast<unsigned short>(flags);
  a.reserved = 0xFFFF;
  a.value = static_cast<unsigned char>(value);
  a.worst = static_cast<unsigned char>(worst);
  a.thresh = static_cast<unsigned char>(threshold);
  a.raw = raw;
  attrs.push_back(a);
}

const PD_SMART_ATTR* SmartReading::find(unsigned id) const {
  for (const PD_SMART_ATTR& a : attrs)
    if (a.id == id) return &a;
  return nullptr;
}

}  // namespace bayhal
