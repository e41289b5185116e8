#include "enc_sys/sas_expander.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "enc_sys/enc_kind.h"
#include "enc_sys/vpd_serial.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

namespace fs = std::filesystem;

constexpr const char* kExpanderClass = "/sys/class/sas_expander";

using Expander = SasExpander;

std::string parent_dir(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos || slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::string base_name(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::optional<uint64_t> parse_address(const std::string& text) {
  if (text.empty()) return std::nullopt;
  char* end = nullptr;
  errno = 0;
  unsigned long long v = std::strtoull(text.c_str(), &end, 16);
  if (errno != 0 || end == text.c_str() || *end != '\0' || v == 0) return std::nullopt;
  return v;
}

std::string identity_of(uint64_t address) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "%" PRIx64, address);
  return buf;
}

std::vector<Expander> expanders() {
  std::vector<Expander> out;
  for (const std::string& name : sysfs_list(kExpanderClass)) {
    std::string cls = sysfs_resolve(std::string(kExpanderClass) + "/" + name);
    if (cls.empty()) continue;
    Expander e{name, parent_dir(parent_dir(cls)), {}};
    auto text = sysfs_read("/sys/class/sas_device/" + name + "/sas_address");
    if (!text) text = sysfs_read(e.dir + "/sas_device/" + name + "/sas_address");
    auto address = text ? parse_address(*text) : std::nullopt;
    if (!address) {
      ERR_TRACE(HAL_TRACE_DEVICE, "%s: %s has no usable sas_address\n", __func__, name.c_str());
      continue;
    }
    e.identity = identity_of(*address);
    out.push_back(std::move(e));
  }
  return out;
}

std::optional<Expander> find(const std::vector<Expander>& all, std::string_view enc_sys_id) {
  for (const Expander& e : all)
    if (!enc_sys_id.empty() && e.identity == enc_sys_id) return e;
  return std::nullopt;
}

// The trailing number of a "port-H:N" or "port-H:N:M" folder name.
int port_number(const std::string& port) {
  size_t colon = port.find_last_of(':');
  return colon == std::string::npos ? 0 : std::atoi(port.c_str() + colon + 1);
}

// Parent enclosure: the expander upstream of this one, else the appliance.
void fill_parent(const std::vector<Expander>& all, const Expander& e, SE_ENC_INFO* info) {
  std::string port = parent_dir(e.dir);
  info->enc_parent_port_id = port_number(base_name(port));
  std::string up = parent_dir(port);
  std::string parent = enc_kind_name(EncKind::kRoot);
  for (const Expander& other : all)
    if (other.dir == up) parent = other.identity;
  copy_out(parent, info->enc_parent_sys_id, sizeof info->enc_parent_sys_id);
}

// True when `path` has a component equal to `component`.
bool path_has_component(std::string_view path, std::string_view component) {
  size_t pos = 0;
  while ((pos = path.find(component, pos)) != std::string_view::npos) {
    bool starts = pos == 0 || path[pos - 1] == '/';
    size_t end = pos + component.size();
    if (starts && (end == path.size() || path[end] == '/')) return true;
    pos = end;
  }
  return false;
}

bool is_scsi_address(const std::string& name) {
  int h, c, t, l;
  char tail;
  return std::sscanf(name.c_str(), "%d:%d:%d:%d%c", &h, &c, &t, &l, &tail) == 4;
}

// The SES device (SCSI type 13) of this expander's unit, not looking into downstream units.
std::string find_ses_unit(const std::string& dir) {
  std::error_code ec;
  fs::recursive_directory_iterator it(sys_path(dir), ec), end;
  for (; !ec && it != end; it.increment(ec)) {
    if (it.depth() > 8 || !it->is_directory(ec) || it->is_symlink(ec)) {
      it.disable_recursion_pending();
      continue;
    }
    std::string name = it->path().filename().string();
    if (name.rfind("expander-", 0) == 0) {
      it.disable_recursion_pending();
      continue;
    }
    if (!is_scsi_address(name)) continue;
    std::string unit = strip_root(it->path().string());
    auto type = sysfs_read(unit + "/type");
    if (type && *type == "13") return unit;
  }
  return {};
}

void fill_ses(const std::string& unit, SE_ENC_INFO* info) {
  std::vector<std::string> sg = sysfs_list(unit + "/scsi_generic");
  if (!sg.empty()) copy_out(sg.front(), info->real_sys_id, sizeof info->real_sys_id);
  std::string page = read_head(unit + "/vpd_pg80", 4096).value_or("");
  if (auto serial = parse_vpd_serial(page.data(), page.size()))
    copy_out(*serial, info->serial, sizeof info->serial);
  auto slots = sysfs_read("/sys/class/enclosure/" + base_name(unit) + "/components");
  if (slots) info->max_disk_num = std::atoi(slots->c_str());
}

// Negotiated rate of the first phy of the port that leads to the expander, in whole Gbit/s.
int link_speed(const Expander& e) {
  std::string port = parent_dir(e.dir);
  for (const std::string& phy : sysfs_list(port)) {
    if (phy.rfind("phy-", 0) != 0) continue;
    auto rate = sysfs_read(port + "/" + phy + "/sas_phy/" + phy + "/negotiated_linkrate");
    if (!rate) rate = sysfs_read(parent_dir(port) + "/" + phy + "/sas_phy/" + phy +
                                   "/negotiated_linkrate");
    if (rate) return std::atoi(rate->c_str());
  }
  return 0;
}

}  // namespace

int sas_expander_enumerate(char** names, int capacity) {
  std::vector<Expander> all = expanders();
  int stored = 0;
  for (const Expander& e : all)
    if (names != nullptr && stored < capacity) names[stored++] = strdup(e.identity.c_str());
  return static_cast<int>(all.size());
}

std::optional<SasExpander> find_sas_expander(std::string_view enc_sys_id) {
  return find(expanders(), enc_sys_id);
}

int comm_sys_check_is_sas_expander(std::string_view enc_sys_id) {
  return find_sas_expander(enc_sys_id) ? 1 : 0;
}

bool sas_expander_in_pci_slot(char* const* names, int count, int slot) {
  auto desc = model::pcie_slot(slot);
  std::string address = desc ? desc->slot.pci_address() : std::string();
  if (address.empty() || names == nullptr) return false;
  std::vector<Expander> all = expanders();
  for (int i = 0; i < count; ++i) {
    if (names[i] == nullptr) continue;
    if (auto e = find(all, names[i]); e && path_has_component(e->dir, address)) return true;
  }
  return false;
}

int sas_expander_getinfo(const char* enc_sys_id, SE_ENC_INFO* info) {
  std::vector<Expander> all = expanders();
  auto e = find(all, enc_sys_id != nullptr ? enc_sys_id : "");
  if (!e || info == nullptr) return -1;
  std::string attrs = e->dir + "/sas_expander/" + e->name;
  copy_out(e->identity, info->enc_sys_id, sizeof info->enc_sys_id);
  copy_out(sysfs_read(attrs + "/vendor_id").value_or(""), info->vendor, sizeof info->vendor);
  copy_out(sysfs_read(attrs + "/product_id").value_or(""), info->model, sizeof info->model);
  copy_out(sysfs_read(attrs + "/product_rev").value_or(""), info->revision, 16 + 1);
  info->sas_address = std::strtoull(e->identity.c_str(), nullptr, 16);
  // The address goes into wwn as its 8 raw bytes, not as text: the persistent map keys a unit
  // by the hex of the first 8 wwn bytes, and as text that would be only the first 8 digits,
  // which units of one vendor share.
  for (int i = 0; i < 8; ++i)
    info->wwn[i] = static_cast<char>((info->sas_address >> (56 - 8 * i)) & 0xff);
  if (sysfs_exists(e->dir + "/bsg/" + e->name))
    copy_out(e->name, info->bsg_name, sizeof info->bsg_name);
  fill_parent(all, *e, info);
  if (std::string unit = find_ses_unit(e->dir); !unit.empty()) fill_ses(unit, info);
  info->capabilities = SE_CAP_SAS_ATTACHED;
  info->link_speed = link_speed(*e);
  return 0;
}

}  // namespace bayhal
