// The fix-ups that correct the chosen description to the hardware actually fitted. Each
// reads the live description afresh (an earlier one may have changed CAP), changes it
// only when it disagrees with the hardware, and never fails the set-up.
#include <cstdio>
#include <filesystem>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/command_runner.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "model/model_conf.h"
#include "model/model_conf_util.h"
#include "model/pci_identity.h"
#include "model/smbios.h"

namespace bayhal {

FixupResult fixup_virtual_disks();  // model_conf_vdisk.cpp

namespace {

using model::change_cap;
using model::unchanged;

constexpr unsigned kCapSuspend = 1u << 6;
constexpr unsigned kCapSasEnclosure = 1u << 7;
constexpr unsigned kCapUsbJbod = 1u << 20;
constexpr unsigned kCapThunderbolt = 1u << 23;

// Entries of a directory under the root whose names start with `prefix`.
std::vector<std::string> entries(const std::string& dir, std::string_view prefix) {
  std::vector<std::string> out;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(sys_path(dir), ec), end; !ec && it != end;
       it.increment(ec)) {
    std::string name = it->path().filename().string();
    if (name.starts_with(prefix)) out.push_back(name);
  }
  return out;
}

FixupResult fixup_power_supply() {
  const char* name = "power supply";
  auto io = ini::read_section(kModelConf, "System IO");
  if (!io || io->find("REDUNDANT_POWER_2") == nullptr) return unchanged(name, "one supply described");
  auto table = smbios::read_table();
  if (!table) return unchanged(name, "no SMBIOS tables");
  int listed = 0, present = 0;
  for (const smbios::Structure* s : table->of_type(39)) {
    if (auto p = smbios::power_supply(*s)) {
      ++listed;
      present += p->present ? 1 : 0;
    }
  }
  if (listed == 0) return unchanged(name, "firmware lists no power supplies");
  if (present >= 2) return unchanged(name, std::to_string(present) + " supplies fitted");
  if (Ini_Conf_Remove_Field(kModelConf, "System IO", "REDUNDANT_POWER_2") < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't remove REDUNDANT_POWER_2\n", __func__, __LINE__);
    return unchanged(name, "write failed");
  }
  return {name, true, "firmware lists " + std::to_string(present) +
                          " fitted supply: REDUNDANT_POWER_2 removed"};
}

FixupResult fixup_thunderbolt() {
  const char* name = "thunderbolt";
  auto cap = model::read_cap();
  if (!cap || (*cap & kCapThunderbolt) == 0) return unchanged(name, "no Thunderbolt ports described");
  std::string option;
  runner().shell_read(
      "/sbin/dmidecode -q -t 12 | /bin/grep \"Option 1\" | /bin/awk -F : '{printf $2}' "
      "2>/dev/null",
      option);
  std::string opt = model::lower(option);
  bool option_says = opt.find("thunderbolt") != std::string::npos || opt.find("tbt") != std::string::npos;
  size_t ports = entries("/sys/bus/thunderbolt/devices", "domain").size();
  if (option_says || ports > 0)
    return unchanged(name, "Thunderbolt present (" + std::to_string(ports) + " domains)");
  FixupResult r = change_cap(name, kCapThunderbolt, 0, "no Thunderbolt option and no domain");
  if (r.changed && Ini_Conf_Set_Field_Int(kModelConf, "TBTnet", "T2E_SUPPORT", 0, 0) <= 0)
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't set T2E_SUPPORT\n", __func__, __LINE__);
  if (r.changed) r.detail += ", T2E_SUPPORT = 0";
  return r;
}

FixupResult fixup_suspend() {
  const char* name = "suspend to RAM";
  for (const PciIdentity& f : list_pci_functions()) {
    if (f.vendor == 0x1000 && (f.device == 0x0072 || f.device == 0x0097)) {
      char why[64];
      std::snprintf(why, sizeof why, "SAS adapter %04x:%04x at %s", f.vendor, f.device,
                    f.address.c_str());
      return change_cap(name, kCapSuspend, 0, why);
    }
  }
  return unchanged(name, "no SAS adapter that blocks suspend");
}

// CPU fans: hardware-monitor fan channels labelled "CPU" that turn.
FixupResult fixup_cpu_fans() {
  const char* name = "cpu fans";
  int labelled = 0, turning = 0;
  for (const std::string& hw : entries("/sys/class/hwmon", "hwmon")) {
    std::string base = "/sys/class/hwmon/" + hw + "/";
    for (const std::string& attr : entries("/sys/class/hwmon/" + hw, "fan")) {
      if (!attr.ends_with("_label")) continue;
      auto label = sysfs_read(base + attr);
      if (!label || model::lower(*label).find("cpu") == std::string::npos) continue;
      ++labelled;
      std::string input = attr.substr(0, attr.size() - 6) + "_input";
      if (sysfs_read_int(base + input).value_or(0) > 0) ++turning;
    }
  }
  if (labelled == 0) return unchanged(name, "no labelled CPU fan channel");
  auto sys = model::system_enclosure();
  long long described = sys ? sys->get_int("MAX_CPU_FAN_NUM").value_or(0) : 0;
  if (described == turning) return unchanged(name, std::to_string(turning) + " as described");
  if (Ini_Conf_Set_Field_Int(kModelConf, kSystemEnclosure, "MAX_CPU_FAN_NUM", turning, 0) <= 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't set MAX_CPU_FAN_NUM\n", __func__, __LINE__);
    return unchanged(name, "write failed");
  }
  return {name, true,
          "MAX_CPU_FAN_NUM " + std::to_string(described) + " -> " + std::to_string(turning)};
}

FixupResult fixup_mapping(const char* name, const char* flag, const char* key,
                          int (*reader)(char*, int)) {
  auto sys = model::system_enclosure();
  const std::string_view* on = sys ? sys->find(flag) : nullptr;
  if (on == nullptr || model::lower(*on) != "yes") return unchanged(name, std::string(flag) + " not yes");
  char mapping[128];
  if (reader(mapping, sizeof mapping) != 0) return unchanged(name, "no mapping in CMOS");
  const std::string_view* now = sys->find(key);
  if (now != nullptr && *now == mapping) return unchanged(name, std::string(key) + " already " + mapping);
  if (Ini_Conf_Set_Field(kModelConf, kSystemEnclosure, key, mapping) <= 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't set %s\n", __func__, __LINE__, key);
    return unchanged(name, "write failed");
  }
  return {name, true, std::string(key) + " = " + mapping};
}

// USB JBODs need a model that allows them and a SuperSpeed (xHCI) host controller.
FixupResult fixup_usb_jbod() {
  const char* name = "usb jbod";
  auto sys = model::system_enclosure();
  long long allowed = sys ? sys->get_int("MAX_UJBOD_NUM").value_or(0) : 0;
  if (allowed < 1) return unchanged(name, "MAX_UJBOD_NUM not set");
  for (const PciIdentity& f : list_pci_functions())
    if (f.class_code == 0x0c0330) return change_cap(name, 0, kCapUsbJbod, "xHCI at " + f.address);
  return unchanged(name, "no xHCI controller");
}

FixupResult fixup_tbt_sas_enclosure() {
  const char* name = "thunderbolt sas enclosure";
  auto tbt = ini::read_section(kModelConf, "Thunderbolt Enclosure");
  if (!tbt || tbt->find("SUPPORT_LIST") == nullptr) return unchanged(name, "no SUPPORT_LIST");
  const std::string_view* force = tbt->find("FORCE_ENABLE_SAS_ENC");
  if (force != nullptr && model::lower(*force) == "yes") return unchanged(name, "FORCE_ENABLE_SAS_ENC yes");
  return change_cap(name, kCapSasEnclosure, 0, "SAS enclosures not forced on");
}

}  // namespace

std::vector<FixupResult> run_model_fixups() {
  std::vector<FixupResult> out;
  out.push_back(fixup_power_supply());
  out.push_back(fixup_thunderbolt());
  out.push_back(fixup_suspend());
  out.push_back(fixup_cpu_fans());
  out.push_back(fixup_virtual_disks());
  out.push_back(fixup_mapping("pcie slot mapping", "DYNAMIC_PCIE_SLOT_MAPPING",
                              "PCIE_SLOT_MAPPING_UNIT", comm_sys_get_pcie_slot_mapping_from_cmos));
  out.push_back(fixup_mapping("disk mapping", "DYNAMIC_DISK_MAPPING", "DISK_MAPPING_UNIT",
                              comm_sys_get_disk_mapping_from_cmos));
  out.push_back(fixup_usb_jbod());
  out.push_back(fixup_tbt_sas_enclosure());
  return out;
}

}  // namespace bayhal
