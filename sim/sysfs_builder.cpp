// Plain pieces, PCI, SCSI hosts and units, block devices and AHCI.
#include "sim/sysfs_builder.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bayhal::sim {

namespace fs = std::filesystem;

namespace {

std::string hex(unsigned v, int width) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%0*x", width, v);
  return buf;
}

// INQUIRY text fields as the kernel shows them: padded with spaces to the field width.
std::string padded(std::string_view s, size_t width) {
  std::string out(s.substr(0, width));
  out.resize(width, ' ');
  return out;
}

std::string hctl(int h, int c, int t, int l) {
  return std::to_string(h) + ":" + std::to_string(c) + ":" + std::to_string(t) + ":" +
         std::to_string(l);
}

}  // namespace

SysfsBuilder::SysfsBuilder(std::string host_root) : root_(std::move(host_root)) {
  while (root_.size() > 1 && root_.back() == '/') root_.pop_back();
  for (const char* d : {"/sys/devices", "/sys/block", "/sys/class/block", "/sys/dev/block",
                        "/sys/bus/pci/devices", "/dev"})
    dir(d);
}

std::string SysfsBuilder::host_path(std::string_view app_path) const {
  std::string out = root_;
  if (app_path.empty() || app_path.front() != '/') out += '/';
  out.append(app_path);
  return out;
}

void SysfsBuilder::dir(std::string_view app_path) { fs::create_directories(host_path(app_path)); }

void SysfsBuilder::attr(std::string_view app_path, std::string_view value) {
  fs::path p(host_path(app_path));
  fs::create_directories(p.parent_path());
  std::ofstream out(p, std::ios::trunc);
  out << value << '\n';
  if (!out) throw std::runtime_error("cannot write " + p.string());
}

void SysfsBuilder::raw(std::string_view app_path, std::string_view bytes) {
  fs::path p(host_path(app_path));
  fs::create_directories(p.parent_path());
  std::ofstream out(p, std::ios::trunc | std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + p.string());
}

void SysfsBuilder::link(std::string_view app_path, std::string_view target) {
  fs::path at(app_path);
  fs::path rel = fs::path(target).lexically_relative(at.parent_path());
  fs::path host(host_path(app_path));
  fs::create_directories(host.parent_path());
  std::error_code ec;
  fs::remove(host, ec);
  fs::create_symlink(rel, host);
}

void SysfsBuilder::dev_node(std::string_view name) {
  std::string p = host_path("/dev/" + std::string(name));
  std::ofstream out(p, std::ios::app);
  if (!out) throw std::runtime_error("cannot create " + p);
}

std::string SysfsBuilder::pci_device(std::string_view addr, std::string_view parent,
                                     const PciSpec& spec) {
  std::string a(addr);
  if (a.size() != 12 || a[4] != ':' || a[7] != ':' || a[10] != '.')
    throw std::invalid_argument("PCI address must be dddd:bb:dd.f: " + a);
  std::string base = parent.empty() ? "/sys/devices/pci" + a.substr(0, 7) : std::string(parent);
  std::string d = base + "/" + a;
  attr(d + "/vendor", hex(spec.vendor, 4));
  attr(d + "/device", hex(spec.device, 4));
  attr(d + "/class", hex(spec.class_code, 6));
  attr(d + "/uevent", "PCI_SLOT_NAME=" + a);
  link(d + "/subsystem", "/sys/bus/pci");
  link("/sys/bus/pci/devices/" + a, d);
  if (!spec.driver.empty()) {
    std::string drv = "/sys/bus/pci/drivers/" + spec.driver;
    std::string mod = "/sys/module/" + (spec.module.empty() ? spec.driver : spec.module);
    dir(mod);
    link(drv + "/module", mod);
    link(drv + "/" + a, d);
    link(d + "/driver", drv);
  }
  return d;
}

std::string SysfsBuilder::pci_bridge(std::string_view addr, int secondary,
                                     std::string_view parent, const PciSpec& spec) {
  PciSpec s = spec;
  if (s.class_code == 0) s.class_code = 0x060400;
  if (s.driver.empty()) s.driver = "pcieport";
  std::string d = pci_device(addr, parent, s);
  char bus[16];
  std::snprintf(bus, sizeof bus, "%.4s:%02x", std::string(addr).c_str(), secondary & 0xff);
  std::string b = d + "/pci_bus/" + bus;
  link(b + "/device", d);
  attr(b + "/cpuaffinity", "ff");
  link("/sys/class/pci_bus/" + std::string(bus), b);
  return d;
}

std::string SysfsBuilder::pci_slot(std::string_view name, std::string_view address) {
  std::string d = "/sys/bus/pci/slots/" + std::string(name);
  attr(d + "/address", address);
  attr(d + "/attention", "0");
  attr(d + "/power", "1");
  return d;
}

std::string SysfsBuilder::scsi_host(std::string_view parent_dir, int host,
                                    std::string_view proc_name) {
  std::string name = "host" + std::to_string(host);
  std::string d = std::string(parent_dir) + "/" + name;
  attr(d + "/uevent", "DEVTYPE=scsi_host");
  link(d + "/subsystem", "/sys/bus/scsi");
  std::string cls = d + "/scsi_host/" + name;
  attr(cls + "/proc_name", proc_name);
  attr(cls + "/unique_id", std::to_string(host + 1));
  attr(cls + "/state", "running");
  link(cls + "/device", d);
  link(cls + "/subsystem", "/sys/class/scsi_host");
  link("/sys/class/scsi_host/" + name, cls);
  link("/sys/bus/scsi/devices/" + name, d);
  return d;
}

std::string SysfsBuilder::block_device(std::string_view parent, std::string_view name,
                                       std::uint64_t sectors, bool removable, bool rotational,
                                       int logical_block) {
  std::string n(name);
  std::string d = std::string(parent) + "/" + n;
  // Kernel major numbers by driver: sd 8, sr 11, virtio-blk 252, xen-blkfront 202,
  // NVMe namespaces 259.
  int major = 8, minor = 0;
  if (n.rfind("sr", 0) == 0) {
    major = 11;
    minor = std::atoi(n.c_str() + 2);
  } else if (n.rfind("nvme", 0) == 0) {
    major = 259;
    minor = next_minor_259_++;
  } else if (n.rfind("vd", 0) == 0 || n.rfind("xvd", 0) == 0) {
    major = n[0] == 'v' ? 252 : 202;
    minor = 16 * (n.back() - 'a');
  } else {
    minor = 16 * next_minor_sd_++;
  }
  std::string dev = std::to_string(major) + ":" + std::to_string(minor);
  attr(d + "/dev", dev);
  attr(d + "/size", std::to_string(sectors));
  attr(d + "/removable", removable ? "1" : "0");
  attr(d + "/ro", "0");
  attr(d + "/uevent", "MAJOR=" + std::to_string(major) + "\nMINOR=" + std::to_string(minor) +
                          "\nDEVNAME=" + n + "\nDEVTYPE=disk");
  attr(d + "/queue/rotational", rotational ? "1" : "0");
  attr(d + "/queue/logical_block_size", std::to_string(logical_block));
  attr(d + "/queue/hw_sector_size", std::to_string(logical_block));
  link(d + "/subsystem", "/sys/class/block");
  link("/sys/block/" + n, d);
  link("/sys/class/block/" + n, d);
  link("/sys/dev/block/" + dev, d);
  dev_node(n);
  return d;
}

std::string SysfsBuilder::partition(std::string_view block, std::string_view name, int index,
                                    std::uint64_t sectors) {
  std::string n(name);
  std::string d = std::string(block) + "/" + n;
  attr(d + "/partition", std::to_string(index));
  attr(d + "/size", std::to_string(sectors));
  attr(d + "/uevent", "DEVNAME=" + n + "\nDEVTYPE=partition");
  link(d + "/subsystem", "/sys/class/block");
  link("/sys/class/block/" + n, d);
  dev_node(n);
  return d;
}

std::string SysfsBuilder::scsi_unit(std::string_view parent_dir, int host, int channel, int id,
                                    int lun, const BlockSpec& spec) {
  std::string tname =
      std::to_string(host) + ":" + std::to_string(channel) + ":" + std::to_string(id);
  std::string target = std::string(parent_dir) + "/target" + tname;
  attr(target + "/uevent", "DEVTYPE=scsi_target");
  std::string unit_name = hctl(host, channel, id, lun);
  std::string u = target + "/" + unit_name;
  attr(u + "/type", std::to_string(spec.type));
  attr(u + "/vendor", padded(spec.vendor, 8));
  attr(u + "/model", padded(spec.model, 16));
  attr(u + "/rev", padded(spec.rev, 4));
  attr(u + "/state", "running");
  attr(u + "/scsi_level", "7");
  attr(u + "/queue_depth", "32");
  attr(u + "/timeout", "30");
  attr(u + "/uevent", "DEVTYPE=scsi_device\nMODALIAS=scsi:t-0x" +
                          hex(static_cast<unsigned>(spec.type), 2).substr(2));
  if (!spec.sas_address.empty()) attr(u + "/sas_address", spec.sas_address);
  link(u + "/subsystem", "/sys/bus/scsi");
  link("/sys/bus/scsi/devices/" + unit_name, u);
  std::string sdev = u + "/scsi_device/" + unit_name;
  link(sdev + "/device", u);
  link("/sys/class/scsi_device/" + unit_name, sdev);

  int sg = spec.sg >= 0 ? spec.sg : next_sg_;
  if (sg >= next_sg_) next_sg_ = sg + 1;
  std::string sgname = "sg" + std::to_string(sg);
  std::string sgdir = u + "/scsi_generic/" + sgname;
  attr(sgdir + "/dev", "21:" + std::to_string(sg));
  link(sgdir + "/device", u);
  link(u + "/generic", sgdir);
  link("/sys/class/scsi_generic/" + sgname, sgdir);
  dev_node(sgname);

  if (!spec.name.empty()) {
    std::string b = block_device(u + "/block", spec.name, spec.sectors, spec.removable,
                                 spec.rotational, spec.logical_block);
    link(b + "/device", u);
    if (spec.type == 0 || spec.type == 0x0e) {
      std::string sd = u + "/scsi_disk/" + unit_name;
      attr(sd + "/provisioning_mode", spec.provisioning_mode);
      attr(sd + "/cache_type", "write back");
      link(sd + "/device", u);
      link("/sys/class/scsi_disk/" + unit_name, sd);
    }
  }
  return u;
}

std::vector<AhciPort> SysfsBuilder::ahci(std::string_view pci_dir, int ports, int first_host,
                                         int first_ata) {
  std::vector<AhciPort> out;
  for (int p = 0; p < ports; ++p) {
    AhciPort port;
    port.ata = first_ata + p;
    port.host = first_host + p;
    std::string ata = std::string(pci_dir) + "/ata" + std::to_string(port.ata);
    std::string n = std::to_string(port.ata);
    link(ata + "/ata_port/ata" + n + "/device", ata);
    link("/sys/class/ata_port/ata" + n, ata + "/ata_port/ata" + n);
    std::string lnk = ata + "/link" + n + "/ata_link/link" + n;
    attr(lnk + "/sata_spd", "<unknown>");
    attr(lnk + "/sata_spd_limit", "<unknown>");
    attr(lnk + "/hw_sata_spd_limit", "6.0 Gbps");
    link("/sys/class/ata_link/link" + n, lnk);
    port.host_dir = scsi_host(ata, port.host, "ahci");
    // Enclosure management by LED messages; the host shows its port's last message.
    std::string cls = port.host_dir + "/scsi_host/host" + std::to_string(port.host);
    attr(cls + "/em_message_type", "led");
    attr(cls + "/em_message", "0");
    out.push_back(port);
  }
  return out;
}

std::string SysfsBuilder::ahci_disk(const AhciPort& port, const BlockSpec& spec) {
  std::string n = std::to_string(port.ata);
  std::string ata = fs::path(port.host_dir).parent_path().string();
  std::string lnk = ata + "/link" + n + "/ata_link/link" + n;
  attr(lnk + "/sata_spd", spec.sata_spd);
  attr(lnk + "/sata_spd_limit", spec.sata_spd_limit);
  std::string dev = ata + "/link" + n + "/dev" + n + ".0/ata_device/dev" + n + ".0";
  attr(dev + "/class", spec.type == 5 ? "atapi" : "ata");
  link("/sys/class/ata_device/dev" + n + ".0", dev);
  return scsi_unit(port.host_dir, port.host, 0, 0, 0, spec);
}

}  // namespace bayhal::sim
