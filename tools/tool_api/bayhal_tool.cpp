// The private interface for bayhal's own programs (bayhal_tool.h), over the internals.
#include "tools/tool_api/bayhal_tool.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "disk_sys/pd_sys.h"
#include "enc_sys/enc_discovery.h"
#include "foundation/c_boundary.h"
#include "foundation/err_trace.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "ini/ini_file.h"
#include "ini/ini_text.h"
#include "model/model_conf.h"

namespace {

int copy_out(const std::string& text, char* buf, int size) {
  if (buf == nullptr || size <= 0 || text.size() >= static_cast<size_t>(size)) return -1;
  std::memcpy(buf, text.c_str(), text.size() + 1);
  return static_cast<int>(text.size());
}

// The text of a store file as the store reads it: 1, or -1 (*err).
int load_store(const char* file, bayhal::ini::FileBuffer& buf, int* err) {
  bayhal::SysPath path(file != nullptr ? file : "");
  struct stat st {};
  int e = !path.ok() ? ENAMETOOLONG : ::stat(path.c_str(), &st) != 0 ? errno : S_ISDIR(st.st_mode) ? EISDIR : 0;
  if (e == 0 && buf.load(path.c_str(), "bayhal_tool_read_section") <= 0) e = EIO;
  if (e != 0) {
    if (err != nullptr) *err = e;
    return -1;
  }
  return 1;
}

constexpr int kMaxEnclosures = 256;

}  // namespace

BAYHAL_EXPORT int bayhal_tool_host_path(const char* path, char* buf, int size) try {
  return path ? copy_out(bayhal::sys_path(path), buf, size) : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_appliance_path(const char* host_path, char* buf, int size) try {
  return host_path ? copy_out(bayhal::strip_root(host_path), buf, size) : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_trace_log(char* buf, int size, unsigned* mask) try {
  if (mask != nullptr) *mask = bayhal::trace_mask();
  return copy_out(bayhal::sys_path(bayhal::trace_log_path()), buf, size) < 0 ? -1 : 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_read_section(const char* file, const char* section, bayhal_tool_pair_fn each,
                                           void* arg, int* err) try {
  bayhal::ini::FileBuffer buf;
  if (int rc = load_store(file, buf, err); rc < 0) return rc;
  std::vector<std::pair<std::string_view, std::string_view>> keys;
  if (section == nullptr || !bayhal::ini::collect_section(buf.view(), section, keys)) return 0;
  for (const auto& [k, v] : keys)
    if (each != nullptr) each(arg, std::string(k).c_str(), std::string(v).c_str());
  return 1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_section_names(const char* file, bayhal_tool_name_fn each, void* arg, int* err) try {
  bayhal::ini::FileBuffer buf;
  if (int rc = load_store(file, buf, err); rc < 0) return rc;
  for (const std::string& name : bayhal::ini::section_names(buf.view()))
    if (!name.empty() && each != nullptr) each(arg, name.c_str());
  return 1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_enclosures_present(bayhal_tool_name_fn each, void* arg) try {
  std::vector<char*> names(kMaxEnclosures, nullptr);
  int found = bayhal::se_sys_enumerate(names.data(), kMaxEnclosures);
  int listed = std::clamp(found, 0, kMaxEnclosures);
  for (int i = 0; i < listed; ++i)
    if (each != nullptr && names[static_cast<size_t>(i)] != nullptr) each(arg, names[static_cast<size_t>(i)]);
  bayhal::free_names(names.data(), listed);
  return found;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_disks_present(const char* enc_sys_id, bayhal_tool_disk_fn each, void* arg) try {
  if (enc_sys_id == nullptr) return -1;
  auto disks = bayhal::pd_sys_scan(enc_sys_id);
  if (!disks) return -1;
  for (const bayhal::PdSysDisk& d : *disks) {
    PD_INFO info;
    int probe = bayhal::pd_sys_getinfo(enc_sys_id, d.pd_sys_id.c_str(), &info);
    if (each != nullptr) each(arg, d.port_id, d.pd_sys_id.c_str(), probe < 0 ? probe : 0, &info);
  }
  return static_cast<int>(disks->size());
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_model_setup(const char** message, const BAYHAL_TOOL_SETUP_REPORT* report,
                                          void* arg) try {
  bayhal::ModelSetupReport r;
  int rc = bayhal::setup_model_conf(message, &r);
  if (report == nullptr) return rc;
  if (report->chosen != nullptr) report->chosen(arg, r.chosen.empty() ? nullptr : r.chosen.c_str());
  if (report->fixup != nullptr)
    for (const bayhal::FixupResult& f : r.fixups) report->fixup(arg, f.name.c_str(), f.changed, f.detail.c_str());
  if (report->memory != nullptr) {
    std::vector<BAYHAL_TOOL_MODULE> modules;
    for (const auto& m : r.memory)
      modules.push_back({m.locator.c_str(), m.bank.c_str(), m.type.c_str(), m.manufacturer.c_str(),
                         m.part_number.c_str(), m.serial.c_str(), m.installed ? 1 : 0,
                         static_cast<int>(m.size_mb), static_cast<int>(m.speed_mts)});
    report->memory(arg, r.memory_sane, modules.data(), static_cast<int>(modules.size()));
  }
  return rc;
} BAYHAL_C_BOUNDARY(-1)
