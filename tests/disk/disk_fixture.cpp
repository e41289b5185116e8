#include "tests/disk/disk_fixture.h"

#include <cstdlib>
#include <cstring>

#include "bayhal/Ini_Conf.h"
#include "disk/pd_fields.h"

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

int FakeDiskBackend::getinfo(const char*, const char* pd_sys_id, PD_INFO* info) {
  ++getinfo_calls;
  auto it = disks.find(pd_sys_id);
  if (it == disks.end()) return -1;
  *info = it->second;
  return 0;
}

int FakeDiskBackend::sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) {
  auto it = names.find(sys_name);
  if (it == names.end() || size <= 0) return -1;
  std::snprintf(sys_id, static_cast<size_t>(size), "%s", it->second.c_str());
  return 0;
}

int FakeDiskBackend::boot_disk(char* name, int size) {
  if (boot.empty() || size <= 0) return -1;
  std::snprintf(name, static_cast<size_t>(size), "%s", boot.c_str());
  return 0;
}

int FakeDiskBackend::attached_behind_sas(const char* bus_name) {
  auto it = behind_sas.find(bus_name);
  return it == behind_sas.end() ? -1 : it->second;
}

int FakeDiskBackend::attached_to_sas_hba_directly(const char* bus_name) {
  auto it = behind_sas.find(bus_name);
  return it == behind_sas.end() ? -1 : 1 - it->second;
}

int FakeDiskBackend::sr_mode(int, int port_id) {
  auto it = sr_modes.find(port_id);
  return it == sr_modes.end() ? -1 : it->second;
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
