// Path helpers of discovery ("comm_sys_"): from a slot's PCI address down to controllers,
// hosts, targets and block devices. Paths are appliance paths ("/sys/..."); an empty string
// or -1 means "not found".
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace bayhal {

// "/sys/bus/pci/devices/dddd:bb:dd.f" for a domain and a DEV_BUS of "bb:dd.f" (a DEV_BUS
// that already carries its domain is taken as it is).
std::string comm_sys_get_path_from_c_dev_bus(int domain, std::string_view dev_bus);
// Secondary bus ("0000:05") of the bridge at `path`, from its "pci_bus" folder.
std::string comm_sys_get_pci_bus(std::string_view path);
// First entry (natural order) of `dir` whose name begins with `prefix`.
std::string comm_sys_search_partial_filename(std::string_view dir, std::string_view prefix);
// Path of the first entry named `name` at or below `dir` (links not followed, at most
// `max_depth` levels down).
std::string comm_sys_search_full_filename(std::string_view dir, std::string_view name,
                                          int max_depth = 6);
// "H:C:T" of the first target of host `host` in `dir` ("target%d:..."); with `channel_zero`
// only the "target<H>:0:<T>" form is taken.
std::string comm_sys_get_sdev_target_bus(std::string_view dir, int host, bool channel_zero);
// SCSI peripheral type of a unit folder ("type"), -1 when unreadable.
int comm_sys_get_sdev_type(std::string_view sdev_path);
// Block device name of a unit folder (the entry of its "block" folder).
std::string comm_sys_get_sdev_sysid(std::string_view sdev_path);
// Port numbers of a DEV_PORT list: "3", "1,2", "1 2" or a range "1-4".
std::vector<int> comm_sys_get_each_usb_port(std::string_view list);
// NVMe controller name ("nvme0") in the "nvme" or "misc" folder of a PCI function.
std::string comm_sys_get_pcie_nvme_name(std::string_view pci_path);
// The namespace that stands for controller `ctrl` ("nvme0" -> "nvme0n1"; a multipath path
// "nvme1c2n1" stands for "nvme1n1"); `ctrl` + "n1" when the folder shows none.
std::string comm_sys_get_nvme_disk_name(std::string_view pci_path, std::string_view ctrl);
// The "System Disk %d" slot whose controller holds NVMe disk `pd_sys_id`; -1 when none.
int comm_sys_get_root_nvme_port_id(std::string_view pd_sys_id);
// Lowest n among the entries "<prefix><n>" of `dir` and their count; -1 and 0 when none.
int common_sys_get_min_index(std::string_view dir, std::string_view prefix, int* count);

}  // namespace bayhal
