// A sandbox appliance for the model description: candidate files, the board's PCI and
// processor identity, firmware tables, and helpers to read back what the set-up wrote.
#pragma once
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "bayhal/Ini_Conf.h"
#include "model/model_conf.h"
#include "tests/model/blob_builders.h"
#include "tests/foundation/trace_fixture.h"

namespace bayhal::test {

class ModelConfTest : public TraceTest {
 protected:
  ModelConfTest() {
    // Two sane DIMMs and a dmidecode that reports no options, unless a test says otherwise.
    DmiBuilder dmi;
    DmiBuilder::Dimm a, b;
    b.locator = "DIMM_B1";
    dmi.memory_device(0x1100, a).memory_device(0x1101, b).end_of_table();
    firmware(dmi);
    root.stand_in("/sbin/dmidecode");
  }

  // Writes a description file (replacing a link there, never writing through it).
  void model(const std::string& text, const char* path = "/etc/model.conf") {
    ::unlink(root.path(path).c_str());
    root.write(path, text);
  }
  void firmware(const DmiBuilder& dmi) { root.write("/sys/firmware/dmi/tables/DMI", dmi.str()); }

  // Configuration space of a function, as sysfs gives it (64 bytes for an unprivileged read).
  void pci_config(const std::string& addr, uint16_t vendor, uint16_t device, uint16_t sub_vendor = 0,
                  uint16_t sub_device = 0) {
    std::string cfg(64, '\0');
    auto put16 = [&](size_t at, uint16_t v) {
      cfg[at] = static_cast<char>(v & 0xFF);
      cfg[at + 1] = static_cast<char>(v >> 8);
    };
    put16(0, vendor);
    put16(2, device);
    cfg[0x0B] = 0x06;  // bridge class
    put16(0x2C, sub_vendor);
    put16(0x2E, sub_device);
    root.write("/sys/bus/pci/devices/" + addr + "/config", cfg);
  }
  // A function visible to the sysfs attribute readers.
  void pci_function(const std::string& addr, uint16_t vendor, uint16_t device, uint32_t cls) {
    char v[16], d[16], c[16];
    std::snprintf(v, sizeof v, "0x%04x\n", vendor);
    std::snprintf(d, sizeof d, "0x%04x\n", device);
    std::snprintf(c, sizeof c, "0x%06x\n", cls);
    std::string base = "/sys/bus/pci/devices/" + addr + "/";
    root.write(base + "vendor", v);
    root.write(base + "device", d);
    root.write(base + "class", c);
  }
  void cpu(const std::string& model_name, const std::string& flags = "fpu vme sse sse2") {
    root.write("/proc/cpuinfo", "processor\t: 0\nvendor_id\t: GenuineIntel\nmodel name\t: " +
                                    model_name + "\nflags\t\t: " + flags + "\n\nprocessor\t: 1\n");
  }

  // A key of the live description; "<absent>" when it is not there.
  std::string get(const char* section, const char* key) {
    char buf[256] = "";
    if (Ini_Conf_Get_Field("/etc/model.conf", section, key, buf, sizeof buf) <= 0) return "<absent>";
    return buf;
  }
  bool is_link(const char* path = "/etc/model.conf") {
    struct stat st {};
    return ::lstat(root.path(path).c_str(), &st) == 0 && S_ISLNK(st.st_mode);
  }
  std::string link_target(const char* path = "/etc/model.conf") {
    char buf[4096];
    ssize_t n = ::readlink(root.path(path).c_str(), buf, sizeof buf);
    return n > 0 ? std::string(buf, static_cast<size_t>(n)) : "";
  }
  const FixupResult* fixup(const ModelSetupReport& r, const std::string& name) {
    for (const FixupResult& f : r.fixups)
      if (f.name == name) return &f;
    return nullptr;
  }
  bool log_has(const std::string& text) { return root.read(kLog).find(text) != std::string::npos; }
};

}  // namespace bayhal::test
