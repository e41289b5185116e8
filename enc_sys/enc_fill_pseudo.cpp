// The appliance's pseudo-enclosures: boot device, USB, eSATA, optical drive, cache, memory
// card and iSCSI remote disks. Each takes its facts from its own model-description section
// ("Boot Enclosure", "Usb Enclosure", "Esata Enclosure", "ODD Enclosure", "Cache Enclosure",
// "iSCSI Enclosure"); the vendor falls back to the appliance's, and a slot count missing from
// the section falls back to the number of slot sections of that kind.
#include <cstring>
#include <string>

#include "enc_sys/enc_fill.h"
#include "enc_sys/enc_kind.h"
#include "foundation/text.h"
#include "ini/ini_store.h"
#include "model/model_conf.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

// The kind's section, model name and disk count, and its slot sections counted for a
// missing MAX_DISK_NUM.
void fill(EncKind kind, const char* enc_sys_id, SE_ENC_INFO* info) {
  const EncKindRow& p = enc_kind_row(kind);
  auto found = ini::read_section(kModelConf, p.model_section);
  const ini::Section s = found ? *found : ini::Section{};
  copy_out(enc_sys_id, info->enc_sys_id, sizeof info->enc_sys_id);
  copy_out(enc_kind_name(EncKind::kRoot), info->enc_parent_sys_id, sizeof info->enc_parent_sys_id);
  if (!s.get_text("VENDOR", info->vendor, sizeof info->vendor))
    if (auto v = model::model_key(kSystemEnclosure, "VENDOR"))
      copy_out(*v, info->vendor, sizeof info->vendor);
  if (!s.get_text("MODEL", info->model, sizeof info->model))
    copy_out(p.default_model, info->model, sizeof info->model);
  int slots =
      p.slot_prefix != nullptr ? static_cast<int>(model::slot_numbers(p.slot_prefix).size()) : 0;
  info->max_disk_num = static_cast<int>(
      s.get_int("MAX_DISK_NUM").value_or(slots > 0 ? slots : p.default_disks));
  info->capabilities = static_cast<uint32_t>(s.get_int("CAP", true).value_or(0));
  info->max_ujbod_num = -1;
  info->max_cpu_num = 1;
}

}  // namespace

int root_boot_getinfo(const char* id, SE_ENC_INFO* info) {
  fill(EncKind::kBoot, id, info);
  return 0;
}

int root_usb_getinfo(const char* id, SE_ENC_INFO* info) {
  fill(EncKind::kUsbPorts, id, info);
  return 0;
}

int root_esata_getinfo(const char* id, SE_ENC_INFO* info) {
  fill(EncKind::kEsata, id, info);
  return 0;
}

int root_odd_getinfo(const char* id, SE_ENC_INFO* info) {
  fill(EncKind::kOdd, id, info);
  return 0;
}

int root_cache_getinfo(const char* id, SE_ENC_INFO* info) {
  fill(EncKind::kCache, id, info);
  info->cache_port_bitmap = model::cacheable_bitmap(enc_kind_row(EncKind::kCache).cache_section);
  return 0;
}

// A memory-card reader has no capabilities of its own.
int root_mmc_getinfo(const char* id, SE_ENC_INFO* info) {
  fill(EncKind::kMmc, id, info);
  info->capabilities = 0;
  return 0;
}

int root_iscsi_getinfo(const char* id, SE_ENC_INFO* info) {
  fill(EncKind::kIscsi, id, info);
  return 0;
}

}  // namespace bayhal
