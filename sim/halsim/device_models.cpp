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
  return s;
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
      return std::make_shared<SataDiskModel>(ata_spec(d));
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
      return std::make_shared<SasDiskModel>(s);
    }
    case DiskKind::nvme: {
      NvmeCtrlSpec s;
      s.vendor = static_cast<uint16_t>(nvme_vendor(sc, d));
      s.model = d.model;
      s.serial = d.serial;
      s.firmware = d.firmware;
      s.namespaces = {d.sectors};
      return std::make_shared<NvmeModel>(s);
    }
    case DiskKind::usb: {
      UsbBridgeSpec s;
      s.vendor = d.vendor.empty() ? "Generic" : d.vendor;
      s.product = d.model;
      s.revision = d.firmware;
      s.serial = d.serial;
      return std::make_shared<UsbBridgeModel>(s, std::make_shared<SataDiskModel>(ata_spec(d)));
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

}  // namespace bayhal::sim::halsim
