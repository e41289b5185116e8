#include "tools/hal_tool/disk_metrics.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "bayhal/PD.h"
#include "tools/hal_tool/openmetrics_text.h"
#include "tools/hal_tool/words.h"

namespace hal_tool {
namespace {

constexpr int kMaxPorts = 1200;

struct FreeInfo {
  void operator()(PD_SMART_INFO* p) const { std::free(p); }
};

DiskHealth health_of(int enc_id, int port) {
  DiskHealth d;
  d.port = port;
  PD_SMART_INFO* raw = nullptr;
  int rc = PD_SMART_Read_Info(enc_id, port, &raw);
  std::unique_ptr<PD_SMART_INFO, FreeInfo> info(raw);
  if (rc != 0 || !info) return d;
  d.cached = true;
  d.verdict = info->verdict;
  d.temperature = info->temperature;
  d.state = info->state;
  d.warnings = info->warnings;
  d.read_time = info->read_time;
  for (int k = 0; k < info->count; ++k)
    for (unsigned id : kSmartWarningIds)
      if (info->attrs[k].id == id)
        d.watched.push_back({id, std::string(info->attrs[k].name, strnlen(info->attrs[k].name, PD_SMART_NAME_LEN)),
                             info->attrs[k].raw});
  return d;
}

void sample(std::string& out, const char* family, const std::string& enc, const DiskHealth& d,
            const std::string& extra, double v) {
  out += family;
  out += "{enclosure=\"" + enc + "\",port=\"" + std::to_string(d.port) + "\"" + extra + "}";
  om_value(out, v);
}

struct Family {
  const char* name;
  const char* unit;
  const char* help;
  // The sample's value; false when the reading gives none.
  bool (*value)(const DiskHealth&, double&);
};

const Family kFamilies[] = {
    {"bayhal_disk_temperature_celsius", "celsius", "A disk's temperature at its last SMART reading.",
     [](const DiskHealth& d, double& v) { return v = d.temperature, d.temperature >= 0; }},
    {"bayhal_disk_smart_verdict", nullptr,
     "A disk's SMART verdict: 0 good, 1 warning, 2 error (the disk predicts its failure), -1 unknown.",
     [](const DiskHealth& d, double& v) { return v = d.verdict, true; }},
    {"bayhal_disk_smart_standby", nullptr,
     "1 when the disk was last found in standby and left asleep: its reading is the one before.",
     [](const DiskHealth& d, double& v) { return v = (d.state & PD_SMART_STATE_STANDBY) ? 1 : 0, true; }},
    {"bayhal_disk_smart_read_timestamp_seconds", "seconds", "When the disk's SMART reading was taken.",
     [](const DiskHealth& d, double& v) { return v = static_cast<double>(d.read_time), true; }},
};

}  // namespace

std::vector<DiskHealth> read_disk_health(int enc_id) {
  std::vector<int> ports(kMaxPorts);
  int n = PD_Enumerate(enc_id, ports.data(), kMaxPorts);
  std::vector<DiskHealth> out;
  for (int i = 0; i < n && i < kMaxPorts; ++i) out.push_back(health_of(enc_id, ports[static_cast<size_t>(i)]));
  return out;
}

void disk_openmetrics(std::string& out, const std::string& enc, const std::vector<DiskHealth>& disks) {
  om_header(out, "bayhal_disk_smart_cached", nullptr,
            "1 when a SMART reading of the disk is cached, 0 when it was never read.");
  for (const DiskHealth& d : disks) sample(out, "bayhal_disk_smart_cached", enc, d, "", d.cached ? 1 : 0);
  for (const Family& f : kFamilies) {
    om_header(out, f.name, f.unit, f.help);
    for (const DiskHealth& d : disks) {
      double v = 0;
      if (d.cached && f.value(d, v)) sample(out, f.name, enc, d, "", v);
    }
  }
  om_header(out, "bayhal_disk_smart_warning", nullptr,
            "1 when a warning-policy attribute (or the temperature) is over its limit.");
  for (const DiskHealth& d : disks) {
    if (!d.cached) continue;
    for (int bit = PD_SMART_WARN_5; bit <= PD_SMART_WARN_TEMPERATURE; bit <<= 1)
      sample(out, "bayhal_disk_smart_warning", enc, d, ",attribute=\"" + smart_warnings(bit)[0] + "\"",
             (d.warnings & bit) ? 1 : 0);
  }
  om_header(out, "bayhal_disk_smart_attribute_raw", nullptr,
            "The raw value of a warning-policy attribute at the disk's last SMART reading.");
  for (const DiskHealth& d : disks)
    for (const DiskHealth::Attr& a : d.watched) {
      std::string labels = ",id=\"" + std::to_string(a.id) + "\",name=\"";
      om_escaped(labels, a.name);
      sample(out, "bayhal_disk_smart_attribute_raw", enc, d, labels + "\"", static_cast<double>(a.raw));
    }
}

}  // namespace hal_tool
