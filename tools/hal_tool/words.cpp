#include "tools/hal_tool/words.h"

#include <cstdio>
#include <utility>

#include "bayhal/PD.h"
#include "bayhal/SE.h"
#include "disk_sys/pd_sys.h"  // the stored link speed codes

namespace hal_tool {
namespace {

// Names of the set bits of a 32-bit word; a bit without a name shows as "0x..".
template <size_t N>
std::vector<std::string> bit_names(uint32_t value, const std::pair<uint32_t, const char*> (&names)[N]) {
  std::vector<std::string> out;
  uint32_t named = 0;
  for (const auto& [bit, name] : names) {
    named |= bit;
    if (value & bit) out.emplace_back(name);
  }
  for (uint32_t bit = 1; bit != 0; bit <<= 1) {
    if ((value & bit) && !(named & bit)) {
      char text[16];
      std::snprintf(text, sizeof text, "0x%x", bit);
      out.emplace_back(text);
    }
  }
  return out;
}

template <size_t N>
std::string word_of(int code, const std::pair<int, const char*> (&words)[N], const char* other) {
  for (auto [c, w] : words)
    if (c == code) return w;
  return other;
}

}  // namespace

std::optional<LinkSpeed> link_speed(int code) {
  using namespace bayhal;  // the link speed codes
  static constexpr std::pair<int, LinkSpeed> kSpeeds[] = {
      {kSata1_5G, {"SATA 1.5 Gb/s", 1.5}}, {kSata3G, {"SATA 3.0 Gb/s", 3}},
      {kSata6G, {"SATA 6.0 Gb/s", 6}},     {kSas12G, {"SAS 12 Gb/s", 12}},
      {kSas22_5G, {"SAS 22.5 Gb/s", 22.5}}, {kUsb12M, {"USB 12 Mb/s", 0.012}},
      {kUsb480M, {"USB 480 Mb/s", 0.48}},  {kUsb5G, {"USB 5 Gb/s", 5}},
      {kUsb10G, {"USB 10 Gb/s", 10}},      {kUsb20G, {"USB 20 Gb/s", 20}},
      {kPcie2_5GT, {"PCIe 2.5 GT/s", 2.5}}, {kPcie5GT, {"PCIe 5.0 GT/s", 5}},
      {kPcie8GT, {"PCIe 8.0 GT/s", 8}},    {kPcie16GT, {"PCIe 16 GT/s", 16}},
      {kPcie32GT, {"PCIe 32 GT/s", 32}},
  };
  for (const auto& [c, speed] : kSpeeds)
    if (c == code) return speed;
  return std::nullopt;
}

std::string disk_type(int type) {
  static constexpr std::pair<int, const char*> kTypes[] = {
      {PD_TYPE_ATA, "ata"}, {PD_TYPE_SCSI, "scsi"}, {PD_TYPE_USB, "usb"}, {PD_TYPE_NVME, "nvme"}};
  for (auto [t, name] : kTypes)
    if (t == type) return name;
  return "unknown";
}

std::vector<std::string> disk_capabilities(unsigned caps) {
  static constexpr std::pair<uint32_t, const char*> kNames[] = {
      {PD_CAP_WWN, "wwn"},           {PD_CAP_SMART, "smart"},
      {PD_CAP_SELF_TEST, "self_test"}, {PD_CAP_SSD, "ssd"},
      {PD_CAP_SERIAL, "serial"},     {PD_CAP_BOOT_DISK, "boot_disk"},
      {PD_CAP_SMART_ATA, "smart_ata"}, {PD_CAP_TRIM, "trim"},
      {PD_CAP_CACHEABLE, "cacheable"}, {PD_CAP_ATT_PHY, "phy_known"},
      {PD_CAP_SCSI, "scsi"},         {PD_CAP_WWN_BLACKLISTED, "wwn_blacklisted"},
      {PD_CAP_VIRTUAL, "virtual"},   {PD_CAP_SED, "sed"},
      {PD_CAP_HAS_MEMBERS, "has_members"},
  };
  return bit_names(caps, kNames);
}

std::string human_bytes(long double bytes) {
  static constexpr const char* kUnits[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
  if (bytes < 0) bytes = 0;
  size_t unit = 0;
  while (bytes >= 1000 && unit + 1 < std::size(kUnits)) bytes /= 1000, ++unit;
  char text[32];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0Lf %s" : "%.2Lf %s", bytes, kUnits[unit]);
  return text;
}

std::string enc_protocol(int protocol) {
  static constexpr std::pair<int, const char*> kNames[] = {
      {SE_PROTOCOL_NONE, "none"}, {SE_PROTOCOL_ROOT, "root"},   {SE_PROTOCOL_SATA, "sata"},
      {SE_PROTOCOL_USB, "usb"},   {SE_PROTOCOL_SAS, "sas"},     {SE_PROTOCOL_ISCSI, "iscsi"},
      {SE_PROTOCOL_PCIE, "pcie"}, {SE_PROTOCOL_TBT, "thunderbolt"}, {SE_PROTOCOL_MMC, "mmc"},
      {SE_PROTOCOL_ODD, "odd"},   {SE_PROTOCOL_ZMC, "zmc"},     {SE_PROTOCOL_PX, "px"},
      {SE_PROTOCOL_HZR, "hzr"},   {SE_PROTOCOL_MVS, "mvs"}};
  for (auto [p, name] : kNames)
    if (p == protocol) return name;
  return "unknown";
}

std::vector<std::string> enc_capabilities(uint32_t caps) {
  static constexpr std::pair<uint32_t, const char*> kNames[] = {
      {SE_CAP_S3, "suspend_to_ram"},        {SE_CAP_NO_ESATA, "no_esata"},
      {SE_CAP_SAS_ATTACHED, "sas_attached"}, {SE_CAP_PCIE_SLOTS, "pcie_slots"},
      {SE_CAP_MCU, "mcu"},                  {SE_CAP_MMC, "mmc"},
      {SE_CAP_USB_JBOD, "usb_jbod"},        {SE_CAP_ODD, "odd"},
      {SE_CAP_PIC, "front_panel"},          {SE_CAP_TBT, "thunderbolt"},
      {SE_CAP_MONITOR_ARG, "monitor_flag"}, {SE_CAP_CACHE, "cache"},
      {SE_CAP_INTERNAL, "internal"}};
  return bit_names(caps, kNames);
}

std::string smart_verdict(int verdict) {
  static constexpr std::pair<int, const char*> kWords[] = {
      {PD_SMART_VERDICT_GOOD, "good"}, {PD_SMART_VERDICT_WARNING, "warning"},
      {PD_SMART_VERDICT_ERROR, "error"}};
  return word_of(verdict, kWords, "unknown");
}

std::string self_test_status(int status) {
  static constexpr std::pair<int, const char*> kWords[] = {
      {0, "completed without error"}, {1, "aborted by the host"}, {2, "interrupted by a reset"},
      {3, "fatal error"}, {4, "failed (unknown element)"}, {5, "failed (electrical element)"},
      {6, "failed (servo element)"}, {7, "failed (read element)"}, {8, "failed (handling damage)"},
      {15, "in progress"}};
  return word_of(status, kWords, "unknown");
}

std::string self_test_mode(int mode) {
  static constexpr std::pair<int, const char*> kWords[] = {
      {PD_SELF_TEST_SHORT, "short"}, {PD_SELF_TEST_EXTENDED, "extended"}, {PD_SELF_TEST_ABORT, "abort"}};
  return word_of(mode, kWords, "");
}

std::vector<std::string> smart_warnings(int bits) {
  static constexpr std::pair<uint32_t, const char*> kNames[] = {
      {PD_SMART_WARN_5, "5"},     {PD_SMART_WARN_187, "187"}, {PD_SMART_WARN_188, "188"},
      {PD_SMART_WARN_197, "197"}, {PD_SMART_WARN_198, "198"}, {PD_SMART_WARN_TEMPERATURE, "temperature"}};
  return bit_names(static_cast<uint32_t>(bits), kNames);
}

}  // namespace hal_tool
