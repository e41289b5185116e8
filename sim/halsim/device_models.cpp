#include "sim/halsim/device_models.h"

#include "sim/ata_disk_model.h"
#include "sim/nvme_model.h"
#include "sim/scsi_disk_models.h"

namespace bayhal::sim::halsim {
namespace {

AtaDiskSpec ata_spec(const Disk& d) {
  AtaDiskSpec s;
  s.model = d.model;
  s.serial = d.serial;
  s.firmware = d.firmware;
  s.sectors = d.sectors;
  s.rotation = d.rotation;
  s.form_factor = d.form;
  s.wwn = d.wwn;
  s.trim = d.rotation == 0;
  s.smart_ok = !d.failing;
  if (d.temperature >= 0)
    for (SmartAttr& a : s.attrs)
      if (a.id == 194) a.raw = static_cast<uint64_t>(d.temperature);
  return s;
}

// A SATA drive: the scenario's identity, with the captured SMART pages when it names them.
std::shared_ptr<SataDiskModel> sata_model(const Disk& d) {
  AtaDiskSpec spec = ata_spec(d);
  if (d.smart_pages.empty()) return std::make_shared<SataDiskModel>(spec);
  return std::make_shared<SataDiskModel>(ata_identify_page(spec), d.smart_data, d.smart_thresholds);
}

unsigned nvme_vendor(const Scenario& sc, const Disk& d) {
  const Slot* s = sc.slot(d.slot);
  const Controller* c = s ? sc.controller(s->controller) : nullptr;
  return c ? c->vendor : 0x144d;
}

}  // namespace

std::shared_ptr<DeviceModel> make_disk_model(const Scenario& sc, const Disk& d) {
  switch (d.kind) {
    case DiskKind::sata:
      return sata_model(d);
    case DiskKind::sas: {
      SasDiskSpec s;
      s.vendor = d.vendor.empty() ? "SEAGATE" : d.vendor;
      s.product = d.model;
      s.revision = d.firmware;
      s.serial = d.serial;
      s.naa = d.wwn;
      s.target_port = d.wwn != 0 ? d.wwn + 2 : 0;  // the port address the tree shows
      s.blocks = d.sectors;
      s.rotation = d.rotation;
      s.form_factor = d.form;
      s.failing = d.failing;
      if (d.temperature >= 0) s.temperature = d.temperature;
      return std::make_shared<SasDiskModel>(s);
    }
    case DiskKind::nvme: {
      NvmeCtrlSpec s;
      s.vendor = static_cast<uint16_t>(nvme_vendor(sc, d));
      s.model = d.model;
      s.serial = d.serial;
      s.firmware = d.firmware;
      s.namespaces = {d.sectors};
      if (d.failing) s.critical_warning = 0x04;  // reliability degraded
      if (d.temperature >= 0) s.temperature = d.temperature;
      return std::make_shared<NvmeModel>(s);
    }
    case DiskKind::usb: {
      UsbBridgeSpec s;
      s.vendor = d.vendor.empty() ? "Generic" : d.vendor;
      s.product = d.model;
      s.revision = d.firmware;
      s.serial = d.serial;
      return std::make_shared<UsbBridgeModel>(s, sata_model(d));
    }
  }
  return nullptr;
}

void DeviceModels::plug(const PluggedDisk& pd, const Disk& d) {
  std::shared_ptr<DeviceModel> m = make_disk_model(sc_, d);
  for (const std::string& node : pd.nodes) models_.add(node, m);
}

void DeviceModels::unplug(const PluggedDisk& pd) {
  for (const std::string& node : pd.nodes) models_.remove(node);
}

std::optional<DeviceModels::Spindle> DeviceModels::spindle(const PluggedDisk& pd,
                                                         std::optional<bool> standby) {
  SpinningDisk* disk = nullptr;
  int commands = 0;
  for (const std::string& node : pd.nodes) {
    if (disk == nullptr) disk = dynamic_cast<SpinningDisk*>(models_.model(node).get());
    commands += models_.commands(node);
  }
  if (disk == nullptr) return std::nullopt;
  if (standby) disk->set_standby(*standby);
  return Spindle{disk->standby(), commands, disk->wakeups()};
}

}  // namespace bayhal::sim::halsim
