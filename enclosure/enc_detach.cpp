// se_detach and se_pre_detach: an enclosure goes, its children first.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "enc_sys/enc_kind.h"
#include "enclosure/disk_registry_link.h"
#include "enclosure/enc_attach.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_hzr.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "ini/ini_bitmap.h"
#include "ini/ini_conf_util.h"
#include "ini/ini_file.h"
#include "ini/ini_store.h"
#include "ini/ini_text.h"

namespace bayhal {
namespace {

constexpr int kMaxChildDepth = 8;

std::vector<int> children_of(int enc_id) {
  std::vector<int> ids(256);
  int n = Ini_Conf_Bitmap_Enumerate(kHalConf, enc_section(enc_id).c_str(), "child_bitmap",
                                    ids.data(), static_cast<int>(ids.size()), nullptr, nullptr);
  ids.resize(n > 0 ? static_cast<size_t>(n) : 0);
  std::erase(ids, enc_id);
  return ids;
}

std::string member_key(int port) { return "pd" + std::to_string(port) + "_member_bitmap"; }

// Remembers which slots held disks, then detaches them (members before their port).
void save_and_detach_disks(int enc_id) {
  auto index = ini::read_section(enc_disk_conf(enc_id), kIndex);
  if (!index) return;
  const std::string_view* pd_text = index->find("pd_bitmap");
  if (pd_text == nullptr) return;
  unsigned ports = bitmap_low32(pd_text);
  se_hotswap_save_pd_bitmap(enc_id, ports);
  for (int p = 0; p < 32; ++p)
    if ((ports >> p) & 1u)
      if (const std::string_view* m = index->find(member_key(p)))
        se_hotswap_save_pd_member_bitmap(enc_id, p, bitmap_low32(m));
  for (int p = 0; p < 32; ++p) {
    if (((ports >> p) & 1u) == 0) continue;
    unsigned members = bitmap_low32(index->find(member_key(p)));
    for (int m = 0; m < 32; ++m)
      if ((members >> m) & 1u) disk_registry_link().detach_by_dev_id(enc_id, m + 1000 * p);
    disk_registry_link().detach_by_dev_id(enc_id, p);
  }
}

int detach(const char* enc_sys_id, int depth);

void detach_children(int enc_id, int depth) {
  for (int child : children_of(enc_id)) {
    char name[32];
    if (se_lookup_sys_id(child, name, sizeof name) < 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: fail to lookup enc_sys_id for enclosure %d!\n",
                "se_child_detach_callback", child);
      continue;
    }
    if (depth < kMaxChildDepth) detach(name, depth + 1);
  }
}

int detach(const char* enc_sys_id, int depth) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s(%s) entering...\n", "se_detach", enc_sys_id);
  int enc_id = se_lookup_id(enc_sys_id);
  int ret = -1;
  if (enc_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: enc_sys_id = %s is invalid!\n", "se_detach", enc_sys_id);
  } else {
    detach_children(enc_id, depth);
    save_and_detach_disks(enc_id);
    ret = se_remove_conf(enc_id);
    char section[32];
    std::snprintf(section, sizeof section, "ENCLOSURE_%x", static_cast<unsigned>(enc_id));
    Ini_Conf_Remove_Field("/etc/config/.jbod_roaming_status", section, "ENC_SAFE_REMOVE");
  }
  ERR_TRACE(HAL_TRACE_ENTRY, "%s(%s) with enc_id = %d leave.\n", "se_detach", enc_sys_id, enc_id);
  if (enc_is(enc_sys_id, EncKind::kMvs) && enc_id >= 0) {
    ERR_TRACE(HAL_TRACE_INFO, "%s: enc_sys_id = %s. Traverse all HZR enclosure conf start...\n",
              "se_detach", enc_sys_id);
    hzr_unlink_enclosure(enc_id);
    ERR_TRACE(HAL_TRACE_INFO, "%s: Traverse all HZR enclosure conf done.\n", "se_detach");
  }
  return ret;
}

// One replacement of hal.conf: the identity index, the in-use bit, the parent's child bit
// and the section go together or not at all.
int forget_enclosure(int enc_id) {
  std::string section = enc_section(enc_id);
  std::string sysid_key, bitmap_text, parent_section, child_text;
  return ini::update_with("se_remove_conf", kHalConf, [&](std::string_view text, ini::Edit& e) {
    std::string_view v;
    e.section = kIndex;
    if (ini::find_value(text, section, "enc_sys_id", v)) {
      sysid_key = "enc_sysid_" + std::string(v);
      e.remove.emplace_back(sysid_key);
    } else {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: can't lookup system id for enclosure %d!\n", "se_remove_conf", enc_id);
    }
    ini::Bitmap in_use;
    if (ini::find_value(text, kIndex, kEncBitmap, v)) in_use.parse(v);
    in_use.reset(enc_id);
    bitmap_text = in_use.format();
    e.set.emplace_back(kEncBitmap, bitmap_text);
    std::string_view parent_id;
    long long parent = -1;
    if (ini::find_value(text, section, "enc_parent_sys_id", v) &&
        ini::find_value(text, kIndex, "enc_sysid_" + std::string(v), parent_id) &&
        ini::parse_int(parent_id, false, parent) && parent >= 0 && parent != enc_id) {
      parent_section = enc_section(static_cast<int>(parent));
      ini::Bitmap children;
      if (ini::find_value(text, parent_section, "child_bitmap", v)) children.parse(v);
      if (children.test(enc_id)) {
        children.reset(enc_id);
        child_text = children.format();
        ini::Edit& up = e.then.emplace_back();
        up.section = parent_section;
        up.set.emplace_back("child_bitmap", child_text);
      }
    }
    ini::Edit& own = e.then.emplace_back();
    own.section = section;
    own.remove_section = true;
    return 0;
  });
}

bool usable_identity(const char* enc_sys_id, const char* func) {
  if (enc_sys_id != nullptr && valid_key_text(enc_sys_id)) return true;
  ERR_TRACE(HAL_TRACE_ERROR, "%s: enc_sys_id = %s is invalid!\n", func,
            enc_sys_id != nullptr ? enc_sys_id : "(null)");
  return false;
}

}  // namespace

int se_remove_conf(int enc_id) {
  if (forget_enclosure(enc_id) < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't remove enclosure %d from %s!\n", __func__, enc_id, kHalConf);
    return -1;
  }
  std::string store = enc_disk_conf(enc_id);
  if (::unlink(sys_path(store).c_str()) != 0 && errno != ENOENT)
    ERR_TRACE(HAL_TRACE_WARN, "%s: can't remove file %s!\n", __func__, store.c_str());
  Ini_Conf_Remove_LCK_File(store.c_str());
  return 0;
}

int se_detach(const char* enc_sys_id) {
  if (!usable_identity(enc_sys_id, __func__)) return -1;
  return detach(enc_sys_id, 0);
}

int se_pre_detach(const char* enc_sys_id) {
  int enc_id = enc_sys_id != nullptr ? se_lookup_id(enc_sys_id) : -1;
  if (enc_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: enc_sys_id = %s is invalid!\n", __func__,
              enc_sys_id != nullptr ? enc_sys_id : "(null)");
    return -1;
  }
  for (int child : children_of(enc_id)) SE_Set_Status(child, SE_STATUS_REMOVING);
  return SE_Set_Status(enc_id, SE_STATUS_REMOVING);
}

}  // namespace bayhal

using namespace bayhal;

// The level-8 record of each call doubles as its entry trace.
BAYHAL_EXPORT int SE_Sys_Pre_Detach(const char* enc_sys_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY | HAL_TRACE_INFO, "%s(%d):enc_sys_id = %s pre_remove\n", __func__, __LINE__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)");
  return se_pre_detach(enc_sys_id);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Sys_Detach(const char* enc_sys_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY | HAL_TRACE_INFO, "%s(%d):enc_sys_id = %s remove\n", __func__, __LINE__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)");
  return se_detach(enc_sys_id);
} BAYHAL_C_BOUNDARY(-1)
