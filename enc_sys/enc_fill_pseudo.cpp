// The appliance's pseudo-enclosures: boot device, USB, eSATA, optical drive, cache, memory
// card and iSCSI remote disks. Each takes its facts from its own model-description section
// ("Boot Enclosure", "Usb Enclosure", "Esata Enclosure", "ODD Enclosure", "Cache Enclosure",
// "iSCSI Enclosure"); the vendor falls back to the appliance's, and a slot count missing from
// the section falls back to the number of slot sections of that kind.
#include <cctype>
#include <cstring>
#include <string>

#include "enc_sys/enc_fill.h"
#include "enclosure/enc_conf.h"
#include "ini/ini_store.h"
#include "model/model_conf.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

struct Pseudo {
  const char* section;
  const char* model;        // used when the section names none
  const char* slot_prefix;  // slot sections counted for a missing MAX_DISK_NUM, or null
  int default_disks;
};

void fill(const Pseudo& p, const char* enc_sys_id, SE_ENC_INFO* info) {
  auto found = ini::read_section(kModelConf, p.section);
  const ini::Section s = found ? *found : ini::Section{};
  copy_out(enc_sys_id, info->enc_sys_id, sizeof info->enc_sys_id);
  copy_out("root", info->enc_parent_sys_id, sizeof info->enc_parent_sys_id);
  if (!s.get_text("VENDOR", info->vendor, sizeof info->vendor))
    if (auto v = model::model_key(kSystemEnclosure, "VENDOR"))
      copy_out(*v, info->vendor, sizeof info->vendor);
  if (!s.get_text("MODEL", info->model, sizeof info->model))
    copy_out(p.model, info->model, sizeof info->model);
  int slots = p.slot_prefix != nullptr ? count_model_sections(p.slot_prefix) : 0;
  info->max_disk_num = static_cast<int>(
      s.get_int("MAX_DISK_NUM").value_or(slots > 0 ? slots : p.default_disks));
  info->capabilities = static_cast<uint32_t>(s.get_int("CAP", true).value_or(0));
  info->max_ujbod_num = -1;
  info->max_cpu_num = 1;
}

}  // namespace

int count_model_sections(const char* prefix) {
  std::string head = std::string(prefix) + " ";
  int count = 0;
  for (const std::string& name : ini::list_sections(kModelConf)) {
    if (name.rfind(head, 0) != 0 || name.size() == head.size()) continue;
    bool digits = true;
    for (size_t i = head.size(); i < name.size(); ++i)
      digits = digits && std::isdigit(static_cast<unsigned char>(name[i]));
    count += digits;
  }
  return count;
}

int root_boot_getinfo(const char* id, SE_ENC_INFO* info) {
  fill({"Boot Enclosure", "Boot", nullptr, 1}, id, info);
  return 0;
}

int root_usb_getinfo(const char* id, SE_ENC_INFO* info) {
  fill({"Usb Enclosure", "USB", "Usb Port", 0}, id, info);
  return 0;
}

int root_esata_getinfo(const char* id, SE_ENC_INFO* info) {
  fill({"Esata Enclosure", "eSATA", "Esata Disk", 0}, id, info);
  return 0;
}

int root_odd_getinfo(const char* id, SE_ENC_INFO* info) {
  fill({"ODD Enclosure", "ODD", "ODD Disk", 0}, id, info);
  return 0;
}

int root_cache_getinfo(const char* id, SE_ENC_INFO* info) {
  fill({"Cache Enclosure", "Cache", "Cache Disk", 0}, id, info);
  info->cache_port_bitmap = model::cacheable_bitmap("Cache Enclosure");
  return 0;
}

// A memory-card reader has no capabilities of its own.
int root_mmc_getinfo(const char* id, SE_ENC_INFO* info) {
  fill({"MMC Enclosure", "MMC", "MMC Port", 0}, id, info);
  info->capabilities = 0;
  return 0;
}

int root_iscsi_getinfo(const char* id, SE_ENC_INFO* info) {
  fill({"iSCSI Enclosure", "iSCSI", nullptr, 16}, id, info);
  return 0;
}

}  // namespace bayhal
