#include "disk/pd_describe.h"

#include <cstdio>

#include "bayhal/PD.h"
#include "disk_sys/pd_sys.h"

namespace bayhal::disk {

std::string link_speed_text(int code) {
  switch (code) {
    case kSata1_5G: return "SATA 1.5 Gb/s";
    case kSata3G: return "SATA 3.0 Gb/s";
    case kSata6G: return "SATA 6.0 Gb/s";
    case kSas12G: return "SAS 12 Gb/s";
    case kSas22_5G: return "SAS 22.5 Gb/s";
    case kUsb12M: return "USB 12 Mb/s";
    case kUsb480M: return "USB 480 Mb/s";
    case kUsb5G: return "USB 5 Gb/s";
    case kUsb10G: return "USB 10 Gb/s";
    case kUsb20G: return "USB 20 Gb/s";
    case kPcie2_5GT: return "PCIe 2.5 GT/s";
    case kPcie5GT: return "PCIe 5.0 GT/s";
    case kPcie8GT: return "PCIe 8.0 GT/s";
    case kPcie16GT: return "PCIe 16 GT/s";
    case kPcie32GT: return "PCIe 32 GT/s";
    default: return "unknown";
  }
}

std::vector<std::string> capability_names(unsigned caps) {
  static constexpr struct {
    unsigned bit;
    const char* name;
  } kNames[] = {
      {PD_CAP_WWN, "wwn"},           {PD_CAP_SMART, "smart"},
      {PD_CAP_SELF_TEST, "self-test"}, {PD_CAP_SSD, "ssd"},
      {PD_CAP_SERIAL, "serial"},     {PD_CAP_BOOT_DISK, "boot-disk"},
      {PD_CAP_SMART_ATA, "smart-ata"}, {PD_CAP_TRIM, "trim"},
      {PD_CAP_CACHEABLE, "cacheable"}, {PD_CAP_ATT_PHY, "phy-known"},
      {PD_CAP_SCSI, "scsi"},         {PD_CAP_WWN_BLACKLISTED, "wwn-blacklisted"},
      {PD_CAP_VIRTUAL, "virtual"},   {PD_CAP_SED, "sed"},
      {PD_CAP_HAS_MEMBERS, "has-members"},
  };
  std::vector<std::string> out;
  unsigned named = 0;
  for (const auto& n : kNames) {
    named |= n.bit;
    if (caps & n.bit) out.emplace_back(n.name);
  }
  for (unsigned bit = 1; bit != 0; bit <<= 1) {
    if ((caps & bit) && !(named & bit)) {
      char hex[16];
      std::snprintf(hex, sizeof hex, "0x%x", bit);
      out.emplace_back(hex);
    }
  }
  return out;
}

std::string human_capacity(long long sectors, int sector_size) {
  if (sectors <= 0 || sector_size <= 0) return "0 B";
  double bytes = static_cast<double>(sectors) * sector_size;
  static constexpr const char* kUnits[] = {"B", "KB", "MB", "GB", "TB", "PB"};
  int unit = 0;
  while (bytes >= 1000.0 && unit < 5) {
    bytes /= 1000.0;
    ++unit;
  }
  char buf[32];
  std::snprintf(buf, sizeof buf, unit == 0 ? "%.0f %s" : "%.2f %s", bytes, kUnits[unit]);
  return buf;
}

}  // namespace bayhal::disk
