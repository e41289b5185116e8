#include "tests/disk/disk_fixture.h"

#include <cstdlib>
#include <cstring>

#include "bayhal/Ini_Conf.h"
#include "disk/pd_fields.h"
#include "disk_sys/pd_sys.h"
#include "disk_sys/pd_sys_devno.h"
#include "disk_sys/pd_sys_smart.h"

namespace bayhal::test {

void add_enclosure(int enc_id, const std::string& enc_sys_id, int max_disk_num, int protocol,
                   unsigned capability) {
  std::string section = "Enclosure_" + std::to_string(enc_id);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", section.c_str(), "enc_id", enc_id, 0);
  Ini_Conf_Set_Field("/etc/hal.conf", section.c_str(), "enc_sys_id", enc_sys_id.c_str());
  Ini_Conf_Set_Field_Int("/etc/hal.conf", section.c_str(), "max_disk_num", max_disk_num, 0);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", section.c_str(), "protocol", protocol, 0);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", section.c_str(), "capability",
                         static_cast<int>(capability), 1);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", "Index", ("enc_sysid_" + enc_sys_id).c_str(), enc_id,
                         0);
  Ini_Conf_Bitmap_Set_Bit("/etc/hal.conf", "Index", "enc_bitmap", enc_id);
}

PD_INFO make_disk(const std::string& pd_sys_id, const std::string& serial, int port_id,
                  const std::string& enc_sys_id) {
  PD_INFO d{};
  d.port_id = port_id;
  d.att_phy_id = -1;
  disk::set_text(d.pd_sys_id, pd_sys_id);
  disk::set_text(d.enc_sys_id, enc_sys_id);
  disk::set_text(d.pd_sys_name, "/dev/" + pd_sys_id);
  disk::set_text(d.pd_ctrl_name, "/dev/sg" + std::to_string(pd_sys_id.size()));
  disk::set_text(d.pd_bus_name, "0:0:0:0");
  disk::set_text(d.vendor, "ATA");
  disk::set_text(d.model, "WDC WD40EFRX-68N32N0");
  disk::set_text(d.serial_no, serial);
  disk::set_text(d.revision, "82.00A82");
  d.type = PD_TYPE_ATA;
  d.sector_size = 512;
  d.capacity = 7814037168LL;
  d.rotation_speed = 5400;
  d.link_speed = 3;
  d.max_link_speed = 3;
  d.pd_max_link_speed = 3;
  d.capabilities = PD_CAP_SMART | PD_CAP_SERIAL;
  d.adapter_kind = PD_ADAPTER_DEFAULT;
  return d;
}

void set_wwn(PD_INFO& info, std::vector<unsigned char> bytes) {
  std::memset(info.wwn, 0, sizeof info.wwn);
  std::memcpy(info.wwn, bytes.data(), bytes.size());
  info.wwn_len = static_cast<int>(bytes.size());
  info.capabilities |= PD_CAP_WWN;
}

int FakeBackend::getinfo(const char*, const char* pd_sys_id, PD_INFO* info) {
  ++getinfo_calls;
  if (auto r = getinfo_result.find(pd_sys_id); r != getinfo_result.end()) return r->second;
  auto it = disks.find(pd_sys_id);
  if (it == disks.end()) return -1;
  *info = it->second;
  return 0;
}

int FakeBackend::enumerate(const char* enc_sys_id, char** list, int max) {
  auto it = members.find(enc_sys_id);
  if (it == members.end()) return 0;
  int n = 0;
  for (const std::string& id : it->second) {
    if (n < max) list[n] = ::strdup(id.c_str());
    ++n;
  }
  return n;
}

int FakeBackend::sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) {
  auto it = names.find(sys_name);
  if (it == names.end() || size <= 0) return -1;
  std::snprintf(sys_id, static_cast<size_t>(size), "%s", it->second.c_str());
  return 0;
}

int FakeBackend::boot_disk(char* name, int size) {
  if (boot.empty() || size <= 0) return -1;
  std::snprintf(name, static_cast<size_t>(size), "%s", boot.c_str());
  return 0;
}

int FakeBackend::attached_behind_sas(const char* bus_name) {
  auto it = behind_sas.find(bus_name);
  return it == behind_sas.end() ? -1 : it->second;
}

int FakeBackend::attached_to_sas_hba_directly(const char* bus_name) {
  auto it = behind_sas.find(bus_name);
  return it == behind_sas.end() ? -1 : 1 - it->second;
}

int FakeBackend::check_rw_access(const char* enc_sys_id, const char* pd_sys_id,
                                 const PD_INFO* info) {
  return pd_sys_check_rw_access(enc_sys_id, pd_sys_id, info);
}
int FakeBackend::set_device_queue(const char* sys_name) {
  return pd_sys_set_device_queue(sys_name);
}
int FakeBackend::set_io_latency(const char* sys_name, int latency_ms) {
  return pd_sys_set_io_latency(sys_name, latency_ms);
}
int FakeBackend::queue_depth(const char* sys_name) { return pd_sys_get_queue_depth(sys_name); }
int FakeBackend::set_queue_depth(const char* sys_name, int depth) {
  return pd_sys_set_queue_depth(sys_name, depth);
}
int FakeBackend::sed_command(const char* const* args, std::span<char> out, size_t* out_len) {
  return pd_sys_sed_command(args, out, out_len);
}
std::string FakeBackend::dev_name(int major, int minor) { return pd_sys_dev_name_of(major, minor); }
bool FakeBackend::dev_no(std::string_view name, int* major, int* minor) {
  return pd_sys_dev_no_of(name, major, minor);
}
std::vector<std::string> FakeBackend::block_devices() { return pd_sys_block_devices(); }
bool FakeBackend::device_present(const char* dev) { return pd_sys_device_present(dev); }
void FakeBackend::reload_usb_host() { pd_sys_reload_usb_host(); }

int FakeBackend::power_mode(int type, const char* pd_sys_id) {
  return pd_sys_health_power_mode(type, pd_sys_id);
}
int FakeBackend::health_read(int type, const char* enc_sys_id, const char* pd_sys_id, int size,
                             SmartReading& out) {
  return pd_sys_health_read(type, enc_sys_id, pd_sys_id, size, out);
}
int FakeBackend::self_test(int type, const char* enc_sys_id, const char* pd_sys_id, int mode) {
  return pd_sys_health_self_test(type, enc_sys_id, pd_sys_id, mode);
}
int FakeBackend::sr_mode(int, int port_id) {
  auto it = sr_modes.find(port_id);
  return it == sr_modes.end() ? -1 : it->second;
}

int FakeBackend::mvs_card_position(const char*, int* pcie_slot, int* card_index) {
  if (mvs_slot < 0) return -1;
  *pcie_slot = mvs_slot;
  *card_index = mvs_index;
  return 0;
}

int FakeBackend::hzr_card_description(int, HzrCardDescription* out) {
  if (card.minisas_port_count == 0) return -1;
  *out = card;
  return 0;
}

int FakeBackend::lookup_in_pcie_enclosure(int, const char*, int, int index, char* pd_sys_id,
                                          int size) {
  auto it = lanes.find(index);
  if (it == lanes.end()) return -1;
  std::snprintf(pd_sys_id, static_cast<size_t>(size), "%s", it->second.c_str());
  return 0;
}

int FakeBackend::scan_ext_port(const char*, std::vector<std::pair<int, int>>* ports) {
  if (ext_ports.empty()) return -1;
  *ports = ext_ports;
  return 0;
}

int RecordingRunner::shell(const std::string& line) {
  lines.push_back(line);
  return 0;
}

int RecordingRunner::shell_read(const std::string& line, std::string& output) {
  lines.push_back(line);
  output = read_output;
  return 0;
}

int RecordingRunner::exec(const std::vector<std::string>& argv, std::string*) {
  std::string line;
  for (const std::string& a : argv) line += (line.empty() ? "" : " ") + a;
  lines.push_back(line);
  return 0;
}

int WaitingRunner::shell(const std::string& line) { return real_.shell(line + "\nwait"); }

int WaitingRunner::shell_read(const std::string& line, std::string& output) {
  return real_.shell_read(line, output);
}

int WaitingRunner::exec(const std::vector<std::string>& argv, std::string* output) {
  return real_.exec(argv, output);
}

DiskTest::DiskTest() { set_disk_backend(&backend); }
DiskTest::~DiskTest() { set_disk_backend(nullptr); }

std::string key_of(const std::string& file, const std::string& section, const std::string& key) {
  char buf[256] = {};
  if (Ini_Conf_Get_Field(file.c_str(), section.c_str(), key.c_str(), buf, sizeof buf) <= 0)
    return "";
  return buf;
}

bool bit_of(const std::string& file, const std::string& key, int bit) {
  return Ini_Conf_Bitmap_Is_Bit_Set(file.c_str(), "Index", key.c_str(), bit) != 0;
}

}  // namespace bayhal::test
