// On a virtual machine the system disks are paravirtual (virtio-blk): the "System Disk %d"
// sections are rewritten to name them, one per disk in the kernel's name order (vda, vdb,
// ...): DEV_BUS is the PCI function carrying the virtio device ("bb:dd.f", with DEV_DOMAIN
// when the domain is not 0), DEV_PORT the N of its "virtioN", DISK_DRV_TYPE "VIRTIO".
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "model/model_conf.h"
#include "model/model_conf_util.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

using KeyValues = std::vector<std::pair<std::string, std::string>>;

struct VirtioDisk {
  std::string name;
  std::string bus;
  unsigned domain = 0;
  int index = -1;
};

bool on_virtual_machine() {
  if (sysfs_exists("/sys/hypervisor/type")) return true;
  std::string info = read_head("/proc/cpuinfo", 64 * 1024).value_or("");
  size_t flags = info.find("\nflags");
  if (flags == std::string::npos) return false;
  size_t eol = info.find('\n', flags + 1);
  std::string line = " " + info.substr(flags + 1, eol - flags - 1) + " ";
  return line.find(" hypervisor ") != std::string::npos;
}

// "dddd:bb:dd.f"
bool split_pci(const std::string& s, unsigned& domain, std::string& bus) {
  if (s.size() != 12 || s[4] != ':' || s[7] != ':' || s[10] != '.') return false;
  char* end = nullptr;
  domain = static_cast<unsigned>(std::strtoul(s.substr(0, 4).c_str(), &end, 16));
  bus = s.substr(5);
  return true;
}

std::vector<VirtioDisk> virtio_disks() {
  std::vector<VirtioDisk> out;
  std::error_code ec;
  std::string block = sys_path("/sys/block");
  for (std::filesystem::directory_iterator it(block, ec), end; !ec && it != end; it.increment(ec)) {
    std::string name = it->path().filename().string();
    if (!name.starts_with("vd")) continue;
    std::error_code ec2;
    std::filesystem::path real = std::filesystem::canonical(it->path(), ec2);
    if (ec2) continue;
    std::string parent;
    for (const auto& part : real) {
      std::string p = part.string();
      if (p.starts_with("virtio") && p.size() > 6 &&
          std::all_of(p.begin() + 6, p.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        VirtioDisk d;
        d.name = name;
        d.index = std::atoi(p.c_str() + 6);
        if (!split_pci(parent, d.domain, d.bus)) d.bus = parent;
        out.push_back(d);
        break;
      }
      parent = p;
    }
  }
  std::sort(out.begin(), out.end(), [](const VirtioDisk& a, const VirtioDisk& b) {
    return a.name.size() != b.name.size() ? a.name.size() < b.name.size() : a.name < b.name;
  });
  return out;
}

// Makes `section` hold exactly `want` (other keys removed); true when it had to change.
bool make_section(const std::string& section, const KeyValues& want, const char* who) {
  auto now = ini::read_section(kModelConf, section);
  std::vector<std::string> remove;
  bool same = now.has_value();
  if (now) {
    for (const auto& entry : now->entries) {
      const std::string key(entry.first);
      bool wanted =
          std::any_of(want.begin(), want.end(), [&](const auto& kv) { return kv.first == key; });
      if (!wanted) remove.push_back(key);
    }
    for (const auto& [k, v] : want) {
      const std::string_view* have = now->find(k);
      if (have == nullptr || *have != v) same = false;
    }
  }
  if (same && remove.empty()) return false;
  if (ini::write_keys(kModelConf, section, want, remove) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't rewrite [%s]\n", who, __LINE__, section.c_str());
    return false;
  }
  return true;
}

}  // namespace

FixupResult fixup_virtual_disks() {
  const char* name = "virtual disks";
  if (!on_virtual_machine()) return model::unchanged(name, "not a virtual machine");
  std::vector<VirtioDisk> disks = virtio_disks();
  if (disks.empty()) return model::unchanged(name, "no paravirtual disks");
  auto sys = model::system_enclosure();
  long long old_max = sys ? sys->get_int("MAX_DISK_NUM").value_or(0) : 0;

  int changed = 0;
  std::string names;
  for (size_t i = 0; i < disks.size(); ++i) {
    const VirtioDisk& d = disks[i];
    KeyValues want{{"DEV_BUS", d.bus}, {"DEV_PORT", std::to_string(d.index)},
                   {"DISK_DRV_TYPE", "VIRTIO"}};
    if (d.domain != 0) want.emplace_back("DEV_DOMAIN", std::to_string(d.domain));
    changed += make_section("System Disk " + std::to_string(i + 1), want, __func__);
    names += (names.empty() ? "" : ",") + d.name;
  }
  std::vector<std::pair<std::string, std::string>> enc{
      {"MAX_DISK_NUM", std::to_string(disks.size())}, {"DISK_DRV_TYPE", "VIRTIO"}};
  bool enc_same = sys && sys->find("MAX_DISK_NUM") && *sys->find("MAX_DISK_NUM") == enc[0].second &&
                  sys->find("DISK_DRV_TYPE") && *sys->find("DISK_DRV_TYPE") == "VIRTIO";
  if (!enc_same) {
    if (ini::write_keys(kModelConf, kSystemEnclosure, enc) == 0)
      ++changed;
    else
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't set MAX_DISK_NUM\n", __func__, __LINE__);
  }
  // Slots of the physical model beyond the paravirtual disks no longer exist.
  long long last = std::min<long long>(old_max, model::kMaxSlots);
  for (long long k = static_cast<long long>(disks.size()) + 1; k <= last; ++k) {
    std::string section = "System Disk " + std::to_string(k);
    if (ini::read_section(kModelConf, section) && Ini_Conf_Remove_Section(kModelConf, section.c_str()) >= 0)
      ++changed;
  }
  if (changed == 0) return model::unchanged(name, "already describes " + names);
  return {name, true, "MAX_DISK_NUM " + std::to_string(old_max) + " -> " +
                          std::to_string(disks.size()) + " (" + names + ")"};
}

}  // namespace bayhal
