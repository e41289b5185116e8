// Scenario text to Scenario: one pass over the lines, each section handed to the reader of
// its kind, then the cross-checks of scenario_check.cpp.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <functional>
#include <map>
#include <set>
#include <sstream>

#include "foundation/text.h"
#include "ini/ini_text.h"
#include "sim/halsim/scenario.h"
#include "sim/halsim/scenario_util.h"

namespace bayhal::sim::halsim {
namespace {

using Keys = std::vector<std::pair<std::string, std::string>>;

struct RawSection {
  std::string name;
  size_t line = 0;
  Keys keys;
};

// Walks the section's keys, handing each to `on_key`; unknown keys are an error.
class KeyReader {
 public:
  KeyReader(const RawSection& s, std::string& error) : s_(s), error_(error) {}

  bool each(const std::function<bool(const std::string&, const std::string&)>& on_key) {
    for (const auto& [k, v] : s_.keys) {
      if (!on_key(k, v)) {
        if (error_.empty()) fail("unknown key '" + k + "'");
        return false;
      }
      if (!error_.empty()) return false;
    }
    return true;
  }
  void fail(const std::string& what) {
    if (error_.empty()) error_ = "line " + std::to_string(s_.line) + ": [" + s_.name + "]: " + what;
  }
  void integer(const std::string& k, const std::string& v, int& out, long long lo, long long hi) {
    long long n = 0;
    if (!parse_number(v, n) || n < lo || n > hi)
      fail(k + " '" + v + "' is not a number from " + std::to_string(lo) + " to " +
           std::to_string(hi));
    else
      out = static_cast<int>(n);
  }
  void boolean(const std::string& k, const std::string& v, bool& out) {
    if (!parse_bool(v, out)) fail(k + " '" + v + "' is not yes or no");
  }
  void list(const std::string& k, const std::string& v, std::vector<int>& out, long long lo,
            long long hi, size_t max) {
    if (!parse_number_list(v, out, lo, hi) || out.size() > max)
      fail(k + " '" + v + "' is not a list of at most " + std::to_string(max) + " numbers from " +
           std::to_string(lo) + " to " + std::to_string(hi));
  }

 private:
  const RawSection& s_;
  std::string& error_;
};

bool read_appliance(const RawSection& s, Scenario& sc, std::string& error) {
  KeyReader r(s, error);
  return r.each([&](const std::string& k, const std::string& v) {
    if (k == "name") sc.name = v;
    else if (k == "vendor") sc.vendor = v;
    else if (k == "display_name") sc.display_name = v;
    else if (k == "serial") sc.serial = v;
    else if (k == "hostname") sc.hostname = v;
    else if (k == "board_id") r.integer(k, v, sc.board_id, 0, 31);
    else if (k == "host_bridge") {
      if (!parse_pci_id(v, sc.host_bridge_vendor, sc.host_bridge_device))
        r.fail("host_bridge '" + v + "' is not vvvv:dddd");
    } else if (k == "cap_extra") {
      unsigned long long n = 0;
      if (!parse_u64(v, n) || n > 0xffffffffull) r.fail("cap_extra '" + v + "' is not a 32-bit mask");
      sc.cap_extra = static_cast<unsigned>(n);
    } else return false;
    return true;
  });
}

bool read_controller(const RawSection& s, std::string name, Scenario& sc, std::string& error) {
  KeyReader r(s, error);
  Controller c;
  c.name = std::move(name);
  bool typed = false;
  bool ok = r.each([&](const std::string& k, const std::string& v) {
    if (k == "type") {
      typed = true;
      if (v == "ahci") c.kind = ControllerKind::ahci;
      else if (v == "nvme") c.kind = ControllerKind::nvme;
      else if (v == "xhci") c.kind = ControllerKind::xhci;
      else if (v == "sas") c.kind = ControllerKind::sas;
      else r.fail("type '" + v + "' is not ahci, nvme, xhci or sas");
    } else if (k == "pci") {
      if (!valid_pci_address(v)) r.fail("pci '" + v + "' is not a dddd:bb:dd.f address");
      c.pci = v;
    } else if (k == "bridge") {
      if (!valid_pci_address(v)) r.fail("bridge '" + v + "' is not a dddd:bb:dd.f address");
      c.bridge = v;
    } else if (k == "pci_id") {
      if (!parse_pci_id(v, c.vendor, c.device)) r.fail("pci_id '" + v + "' is not vvvv:dddd");
    } else if (k == "ports") r.integer(k, v, c.ports, 1, 64);
    else if (k == "host") r.integer(k, v, c.host, 0, 1000);
    else if (k == "index") r.integer(k, v, c.index, 0, 255);
    else if (k == "usb2_bus") r.integer(k, v, c.usb2_bus, 1, 127);
    else if (k == "usb3_bus") r.integer(k, v, c.usb3_bus, 1, 127);
    else if (k == "pcie_slot") r.integer(k, v, c.pcie_slot, 0, 16);
    else if (k == "sas_address") {
      unsigned long long a = 0;
      if (!parse_u64(v, a) || a == 0) r.fail("sas_address '" + v + "' is not a 64-bit address");
      c.sas_address = v;
    } else return false;
    return true;
  });
  if (!ok) return false;
  if (!typed) return r.fail("type is missing"), false;
  if (c.pci.empty()) return r.fail("pci is missing"), false;
  sc.controllers.push_back(std::move(c));
  return true;
}

bool read_unit(const RawSection& s, std::string name, Scenario& sc, std::string& error) {
  KeyReader r(s, error);
  Unit u;
  u.name = std::move(name);
  bool ok = r.each([&](const std::string& k, const std::string& v) {
    if (k == "controller") u.controller = v;
    else if (k == "host_phys") {
      if (!parse_int_list(v, u.host_phys) || u.host_phys.empty())
        r.fail("host_phys '" + v + "' is not a list such as 4-7 or 0,1");
    } else if (k == "bays") r.integer(k, v, u.bays, 1, 100);
    else if (k == "sas_address") {
      unsigned long long a = 0;
      if (!parse_u64(v, a) || a == 0) r.fail("sas_address '" + v + "' is not a 64-bit address");
      u.sas_address = v;
    } else if (k == "vendor") u.vendor = v;
    else if (k == "model") u.model = v;
    else if (k == "revision") u.revision = v;
    else if (k == "serial") u.serial = v;
    else if (k == "cabled") r.boolean(k, v, u.cabled);
    else return false;
    return true;
  });
  if (!ok) return false;
  if (u.controller.empty() || u.host_phys.empty() || u.bays == 0 || u.sas_address.empty())
    return r.fail("controller, host_phys, bays and sas_address are required"), false;
  sc.units.push_back(std::move(u));
  return true;
}

// "[slot root/1]" or a range "[slot root/1-8]" whose ports count up from `port`.
bool read_slot(const RawSection& s, const std::string& spec, Scenario& sc, std::string& error) {
  KeyReader r(s, error);
  std::string enclosure;
  int first = 0, last = 0;
  if (!split_slot_range(spec, enclosure, first, last))
    return r.fail("'" + spec + "' is not ENCLOSURE/N or ENCLOSURE/N-M"), false;
  Slot base;
  base.enclosure = enclosure;
  bool port_given = false;
  bool ok = r.each([&](const std::string& k, const std::string& v) {
    if (k == "controller") base.controller = v;
    else if (k == "port") {
      r.integer(k, v, base.port, 0, 255);
      port_given = true;
    } else if (k == "label") base.label = v;
    else if (k == "front") r.boolean(k, v, base.front);
    else return false;
    return true;
  });
  if (!ok) return false;
  for (int n = first; n <= last; ++n) {
    Slot slot = base;
    slot.number = n;
    slot.port = port_given ? base.port + (n - first) : -1;
    if (first != last && !base.label.empty()) slot.label = base.label + " " + std::to_string(n);
    sc.slots.push_back(std::move(slot));
  }
  return true;
}

bool read_disk(const RawSection& s, std::string name, Scenario& sc, std::string& error) {
  KeyReader r(s, error);
  Disk d;
  d.name = std::move(name);
  bool typed = false;
  bool ok = r.each([&](const std::string& k, const std::string& v) {
    if (k == "slot") {
      std::string enc;
      int n = 0;
      if (!split_slot_id(v, enc, n)) r.fail("slot '" + v + "' is not ENCLOSURE/N");
      d.slot = enc + "/" + std::to_string(n);
    } else if (k == "type") {
      typed = true;
      if (v == "sata") d.kind = DiskKind::sata;
      else if (v == "sas") d.kind = DiskKind::sas;
      else if (v == "nvme") d.kind = DiskKind::nvme;
      else if (v == "usb") d.kind = DiskKind::usb;
      else r.fail("type '" + v + "' is not sata, sas, nvme or usb");
    } else if (k == "vendor") d.vendor = v;
    else if (k == "model") d.model = v;
    else if (k == "serial") d.serial = v;
    else if (k == "firmware") d.firmware = v;
    else if (k == "wwn") {
      unsigned long long w = 0;
      if (!parse_u64(v, w)) r.fail("wwn '" + v + "' is not a 64-bit number");
      d.wwn = w;
    } else if (k == "size") {
      if (!parse_size(v, d.sectors)) r.fail("size '" + v + "' is not a size such as 4T or 960G");
    } else if (k == "rotation") r.integer(k, v, d.rotation, 0, 20000);
    else if (k == "form") r.integer(k, v, d.form, 0, 15);
    else if (k == "sed") r.boolean(k, v, d.sed);
    else if (k == "psid") {
      if (v.size() < 8 || v.size() > 64) r.fail("psid '" + v + "' is not 8 to 64 characters");
      d.psid = v;
    } else if (k == "smart_pages") d.smart_pages = v;
    else if (k == "failing") r.boolean(k, v, d.failing);
    else if (k == "temperature") r.integer(k, v, d.temperature, 0, 120);
    else return false;
    return true;
  });
  if (!ok) return false;
  if (!typed) return r.fail("type is missing"), false;
  if (d.model.empty() || d.serial.empty() || d.sectors == 0)
    return r.fail("model, serial and size are required"), false;
  if (!d.smart_pages.empty() && d.kind != DiskKind::sata && d.kind != DiskKind::usb)
    return r.fail("smart_pages are ATA pages: for sata and usb disks"), false;
  sc.disks.push_back(std::move(d));
  return true;
}

// Degrees and top fan speeds the chips can report.
constexpr long long kMaxCelsius = 127;
constexpr long long kMaxRpm = 20000;

bool read_ec(const RawSection& s, Scenario& sc, std::string& error) {
  KeyReader r(s, error);
  EcSpec& ec = sc.ec;
  ec.fitted = true;
  return r.each([&](const std::string& k, const std::string& v) {
    if (k == "firmware") {
      if (v.size() > 8) r.fail("firmware '" + v + "' is longer than 8 characters");
      ec.firmware = v;
    } else if (k == "cpu_temps") r.list(k, v, ec.cpu_temps, 0, kMaxCelsius, 2);
    else if (k == "system_temps") r.list(k, v, ec.system_temps, 0, kMaxCelsius, 3);
    else if (k == "env_temps") r.list(k, v, ec.env_temps, 0, kMaxCelsius, 24);
    else if (k == "cpu_fans") r.list(k, v, ec.cpu_fans, 0, kMaxRpm, 2);
    else if (k == "system_fans") r.list(k, v, ec.system_fans, 0, kMaxRpm, 5);
    else if (k == "power_supplies") r.integer(k, v, ec.power_supplies, 0, 2);
    else if (k == "psu_temps") r.list(k, v, ec.psu_temps, 0, kMaxCelsius, 2);
    else if (k == "psu_fans") r.list(k, v, ec.psu_fans, 0, kMaxRpm, 2);
    else if (k == "eup") r.boolean(k, v, ec.eup);
    else if (k == "buzzer_freq") r.integer(k, v, ec.buzzer_freq, 0, 100);
    else return false;
    return true;
  });
}

// `held`: a comma list of inputs, each with a pin of the section's own.
void read_held(KeyReader& r, const std::string& v, SuperIoSpec& sio) {
  for (size_t at = 0; at <= v.size();) {
    size_t comma = std::min(v.find(',', at), v.size());
    std::string name(trim(std::string_view(v).substr(at, comma - at)));
    const PanelPin* input = panel_input(name);
    bool wired = input != nullptr && std::any_of(sio.pins.begin(), sio.pins.end(),
                                                 [&](const auto& pin) { return pin.first == input->io_key; });
    if (!wired) return r.fail("held '" + name + "' is not an input with a pin above it");
    sio.held.push_back(name);
    at = comma + 1;
  }
}

bool read_superio(const RawSection& s, Scenario& sc, std::string& error) {
  KeyReader r(s, error);
  SuperIoSpec& sio = sc.superio;
  sio.fitted = true;
  return r.each([&](const std::string& k, const std::string& v) {
    if (k == "chip") {
      if (v != "IT87" && v != "F71869A" && v != "F81866A" && v != "NCT5523")
        r.fail("chip '" + v + "' is not IT87, F71869A, F81866A or NCT5523");
      sio.chip = v;
      return true;
    }
    if (k == "temps") return r.list(k, v, sio.temps, 0, 255, 6), true;
    if (k == "fans") return r.list(k, v, sio.fans, 0, kMaxRpm, 6), true;
    if (k == "held") return read_held(r, v, sio), true;
    for (const PanelPin& p : panel_pins())
      if (k == p.scenario_key) {
        int pin = 0;
        r.integer(k, v, pin, 0, 87);
        if (pin % 10 > 7) r.fail(k + " '" + v + "' is not a pin (group and bit 0-7, such as 52)");
        sio.pins.emplace_back(std::string(p.io_key), pin);
        return true;
      }
    return false;
  });
}

bool read_section(const RawSection& s, Scenario& sc, std::string& error) {
  const std::string& n = s.name;
  auto after = [&](std::string_view prefix) { return std::string(trim(n.substr(prefix.size()))); };
  if (n == "appliance") return read_appliance(s, sc, error);
  if (n.starts_with("controller ")) return read_controller(s, after("controller "), sc, error);
  if (n.starts_with("unit ")) return read_unit(s, after("unit "), sc, error);
  if (n.starts_with("slot ")) return read_slot(s, after("slot "), sc, error);
  if (n.starts_with("disk ")) return read_disk(s, after("disk "), sc, error);
  if (n == "ec") return read_ec(s, sc, error);
  if (n == "superio") return read_superio(s, sc, error);
  if (n.starts_with("model ")) {
    sc.model_extra.push_back({after("model "), s.keys});
    return true;
  }
  error = "line " + std::to_string(s.line) + ": unknown section [" + n + "]";
  return false;
}

}  // namespace

bool check_scenario(Scenario& sc, std::string& error);  // scenario_check.cpp

// A new pin is a row here; an input needs nothing else to be pressed and shown.
constexpr PanelPin kPanelPins[] = {
    {"status_red_led", "STATUS_RED_LED"},
    {"status_green_led", "STATUS_GREEN_LED"},
    {"power_led", "POWER_LED"},
    {"usb_led", "FRONT_USB_LED"},
    {"ident_led", "IDENT_LED"},
    {"standby_led", "STANDBY_LED"},
    {"usb_copy_button", "USB_COPY_BUTTON", "usb_copy", "pressed", "released"},
    {"reset_button", "RESET_BUTTON", "reset", "pressed", "released"},
    {"eject_button", "EJECT_BUTTON", "eject", "pressed", "released"},
    {"case_cover", "CASE_COVER", "case_cover", "open", "closed"},
};

std::span<const PanelPin> panel_pins() { return kPanelPins; }

const PanelPin* panel_input(std::string_view name) {
  for (const PanelPin& p : kPanelPins)
    if (!p.input.empty() && p.input == name) return &p;
  return nullptr;
}

std::optional<Scenario> parse_scenario(std::string_view text, std::string& error) {
  error.clear();
  std::vector<RawSection> sections;
  std::set<std::string> names;
  size_t line_no = 0;
  ini::for_each_line(text, [&](std::string_view, const ini::Line& l) {
    ++line_no;
    switch (l.kind) {
      case ini::LineKind::blank:
      case ini::LineKind::comment:
        return true;
      case ini::LineKind::bad:
        error = "line " + std::to_string(line_no) + ": neither [section] nor key = value";
        return false;
      case ini::LineKind::section:
        if (!names.insert(std::string(l.name)).second) {
          error = "line " + std::to_string(line_no) + ": section [" + std::string(l.name) +
                  "] appears twice";
          return false;
        }
        sections.push_back({std::string(l.name), line_no, {}});
        return true;
      case ini::LineKind::key:
        if (sections.empty()) {
          error = "line " + std::to_string(line_no) + ": key outside any section";
          return false;
        }
        for (const auto& kv : sections.back().keys)
          if (kv.first == l.name) {
            error = "line " + std::to_string(line_no) + ": key '" + std::string(l.name) +
                    "' appears twice";
            return false;
          }
        sections.back().keys.emplace_back(std::string(l.name), std::string(l.value));
        return true;
    }
    return true;
  });
  if (!error.empty()) return std::nullopt;
  Scenario sc;
  for (const RawSection& s : sections)
    if (!read_section(s, sc, error)) return std::nullopt;
  if (!check_scenario(sc, error)) return std::nullopt;
  return sc;
}

namespace {

// A saved SMART page: 512 bytes.
bool read_page(const std::string& file, std::vector<uint8_t>& out, std::string& error) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    error = "smart_pages: " + file + ": " + std::strerror(errno);
    return false;
  }
  out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (out.size() == 512) return true;
  error = "smart_pages: " + file + ": " + std::to_string(out.size()) + " bytes, not a 512-byte page";
  return false;
}

bool load_pages(const std::string& dir, Disk& d, std::string& error) {
  std::string base = d.smart_pages[0] == '/' ? d.smart_pages : dir + "/" + d.smart_pages;
  return read_page(base + ".smart_data.bin", d.smart_data, error) &&
         read_page(base + ".smart_thresholds.bin", d.smart_thresholds, error);
}

}  // namespace

std::optional<Scenario> load_scenario(const std::string& path, std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = path + ": " + std::strerror(errno);
    return std::nullopt;
  }
  std::ostringstream text;
  text << in.rdbuf();
  auto sc = parse_scenario(text.str(), error);
  if (!sc) {
    error = path + ": " + error;
    return std::nullopt;
  }
  std::string dir = path.find('/') == std::string::npos ? "." : path.substr(0, path.rfind('/'));
  for (Disk& d : sc->disks)
    if (!d.smart_pages.empty() && !load_pages(dir, d, error)) {
      error = path + ": [disk " + d.name + "]: " + error;
      return std::nullopt;
    }
  return sc;
}

}  // namespace bayhal::sim::halsim
