// NVMe controllers, USB hubs and mass storage, virtio-blk and Xen paravirtual disks.
#include <cstdio>
#include <filesystem>

#include "sim/sysfs_builder.h"

namespace bayhal::sim {

namespace fs = std::filesystem;

namespace {

std::string padded(std::string_view s, size_t width) {
  std::string out(s.substr(0, width));
  out.resize(width, ' ');
  return out;
}

std::string hex4(unsigned v) {
  char buf[8];
  std::snprintf(buf, sizeof buf, "%04x", v & 0xffff);
  return buf;
}

}  // namespace

std::string SysfsBuilder::nvme(std::string_view pci_dir, int ctrl, const NvmeSpec& spec) {
  std::string name = "nvme" + std::to_string(ctrl);
  std::string cls = spec.misc_class ? "misc" : "nvme";
  std::string d = std::string(pci_dir) + "/" + cls + "/" + name;
  attr(d + "/model", padded(spec.model, 40));
  attr(d + "/serial", padded(spec.serial, 20));
  attr(d + "/firmware_rev", padded(spec.firmware, 8));
  attr(d + "/transport", "pcie");
  attr(d + "/state", "live");
  attr(d + "/cntlid", "1");
  attr(d + "/address", fs::path(pci_dir).filename().string());
  attr(d + "/dev", "241:" + std::to_string(ctrl));
  link(d + "/device", pci_dir);
  link(d + "/subsystem", "/sys/class/" + cls);
  link("/sys/class/" + cls + "/" + name, d);
  dev_node(name);
  int nsid = 1;
  for (std::uint64_t sectors : spec.namespaces) {
    std::string ns = name + "n" + std::to_string(nsid);
    std::string b = block_device(d, ns, sectors, false, false, 512);
    attr(b + "/nsid", std::to_string(nsid));
    link(b + "/device", d);
    ++nsid;
  }
  return d;
}

UsbDev SysfsBuilder::usb_root_hub(std::string_view pci_dir, int bus, int speed, int ports) {
  UsbDev hub;
  hub.bus = bus;
  hub.name = "usb" + std::to_string(bus);
  hub.dir = std::string(pci_dir) + "/" + hub.name;
  hub.speed = speed;
  attr(hub.dir + "/busnum", std::to_string(bus));
  attr(hub.dir + "/devnum", "1");
  attr(hub.dir + "/devpath", "0");
  attr(hub.dir + "/speed", std::to_string(speed));
  attr(hub.dir + "/maxchild", std::to_string(ports));
  attr(hub.dir + "/bDeviceClass", "09");
  attr(hub.dir + "/idVendor", "1d6b");
  attr(hub.dir + "/idProduct", speed >= 5000 ? "0003" : "0002");
  attr(hub.dir + "/version", speed >= 5000 ? " 3.00" : " 2.00");
  attr(hub.dir + "/product", "xHCI Host Controller");
  attr(hub.dir + "/uevent", "DEVTYPE=usb_device\nBUSNUM=" + hex4(bus).substr(1));
  link(hub.dir + "/subsystem", "/sys/bus/usb");
  link("/sys/bus/usb/devices/" + hub.name, hub.dir);
  std::string iface = hub.dir + "/" + std::to_string(bus) + "-0:1.0";
  attr(iface + "/bInterfaceClass", "09");
  for (int p = 1; p <= ports; ++p) dir(iface + "/" + hub.name + "-port" + std::to_string(p));
  return hub;
}

UsbDev SysfsBuilder::usb_device(const UsbDev& parent, int port, const UsbSpec& spec) {
  UsbDev dev;
  dev.bus = parent.bus;
  bool root = parent.name.rfind("usb", 0) == 0;
  dev.name = root ? std::to_string(parent.bus) + "-" + std::to_string(port)
                  : parent.name + "." + std::to_string(port);
  dev.dir = parent.dir + "/" + dev.name;
  dev.speed = spec.speed;
  attr(dev.dir + "/busnum", std::to_string(dev.bus));
  attr(dev.dir + "/devpath", dev.name.substr(dev.name.find('-') + 1));
  attr(dev.dir + "/speed", std::to_string(spec.speed));
  attr(dev.dir + "/idVendor", hex4(spec.vendor));
  attr(dev.dir + "/idProduct", hex4(spec.product));
  attr(dev.dir + "/manufacturer", spec.manufacturer);
  attr(dev.dir + "/product", spec.product_name);
  if (!spec.serial.empty()) attr(dev.dir + "/serial", spec.serial);
  attr(dev.dir + "/maxchild", std::to_string(spec.hub_ports));
  attr(dev.dir + "/bDeviceClass", spec.hub_ports > 0 ? "09" : "00");
  attr(dev.dir + "/version", spec.speed >= 5000 ? " 3.20" : " 2.10");
  attr(dev.dir + "/uevent", "DEVTYPE=usb_device");
  link(dev.dir + "/subsystem", "/sys/bus/usb");
  link("/sys/bus/usb/devices/" + dev.name, dev.dir);
  if (spec.hub_ports > 0) {
    std::string iface = dev.dir + "/" + dev.name + ":1.0";
    attr(iface + "/bInterfaceClass", "09");
    for (int p = 1; p <= spec.hub_ports; ++p)
      dir(iface + "/" + dev.name + "-port" + std::to_string(p));
  }
  return dev;
}

std::vector<std::string> SysfsBuilder::usb_storage(const UsbDev& dev, int host,
                                                   const std::vector<BlockSpec>& luns) {
  std::string iface = dev.dir + "/" + dev.name + ":1.0";
  attr(iface + "/bInterfaceClass", "08");
  attr(iface + "/bInterfaceSubClass", "06");
  attr(iface + "/bInterfaceProtocol", "50");
  attr(iface + "/uevent", "DEVTYPE=usb_interface\nDRIVER=usb-storage");
  dir("/sys/module/usb_storage");
  link("/sys/bus/usb/drivers/usb-storage/module", "/sys/module/usb_storage");
  link(iface + "/driver", "/sys/bus/usb/drivers/usb-storage");
  link("/sys/bus/usb/devices/" + dev.name + ":1.0", iface);
  std::string h = scsi_host(iface, host, "usb-storage");
  std::vector<std::string> units;
  for (size_t lun = 0; lun < luns.size(); ++lun)
    units.push_back(scsi_unit(h, host, 0, 0, static_cast<int>(lun), luns[lun]));
  return units;
}

std::string SysfsBuilder::virtio_blk(std::string_view pci_dir, int index, std::string_view name,
                                     std::uint64_t sectors) {
  std::string v = "virtio" + std::to_string(index);
  std::string d = std::string(pci_dir) + "/" + v;
  attr(d + "/device", "0x0002");
  attr(d + "/vendor", "0x1af4");
  attr(d + "/uevent", "DRIVER=virtio_blk\nMODALIAS=virtio:d00000002v00001AF4");
  dir("/sys/module/virtio_blk");
  link("/sys/bus/virtio/drivers/virtio_blk/module", "/sys/module/virtio_blk");
  link(d + "/driver", "/sys/bus/virtio/drivers/virtio_blk");
  link(d + "/subsystem", "/sys/bus/virtio");
  link("/sys/bus/virtio/devices/" + v, d);
  std::string b = block_device(d + "/block", name, sectors, false, true, 512);
  link(b + "/device", d);
  return b;
}

std::string SysfsBuilder::xen_vbd(int vbd_id, std::string_view name, std::uint64_t sectors) {
  std::string v = "vbd-" + std::to_string(vbd_id);
  std::string d = "/sys/devices/" + v;
  attr(d + "/nodename", "device/vbd/" + std::to_string(vbd_id));
  attr(d + "/devtype", "vbd");
  attr(d + "/state", "4");
  attr(d + "/uevent", "DRIVER=vbd\nXENBUS_TYPE=vbd\nXENBUS_PATH=device/vbd/" +
                          std::to_string(vbd_id));
  dir("/sys/module/xen_blkfront");
  link("/sys/bus/xen/drivers/vbd/module", "/sys/module/xen_blkfront");
  link(d + "/driver", "/sys/bus/xen/drivers/vbd");
  link(d + "/subsystem", "/sys/bus/xen");
  link("/sys/bus/xen/devices/" + v, d);
  std::string b = block_device(d + "/block", name, sectors, false, true, 512);
  link(b + "/device", d);
  return b;
}

}  // namespace bayhal::sim
