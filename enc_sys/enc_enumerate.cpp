// se_sys_enumerate: the enclosures present now, in a fixed order.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "enc_sys/enc_discovery.h"
#include "enc_sys/enc_kind.h"
#include "enc_sys/expansion_units.h"
#include "enc_sys/pcie_slots.h"
#include "enc_sys/private_backends.h"
#include "enc_sys/sas_expander.h"
#include "foundation/command_runner.h"
#include "foundation/sysroot.h"
#include "foundation/udev_tag.h"
#include "ini/conf_read.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

// The list being built: counts everything found, stores what fits.
class Listing {
 public:
  Listing(char** names, int capacity) : names_(names), capacity_(capacity) {}
  void add(const char* name) {
    if (count_ < capacity_) names_[count_] = strdup(name);
    ++count_;
  }
  // Where a bus enumerator stores, and how much room it has.
  char** tail() const { return count_ < capacity_ ? names_ + count_ : nullptr; }
  int room() const { return count_ < capacity_ ? capacity_ - count_ : 0; }
  void grow(int found) { count_ += found > 0 ? found : 0; }
  int count() const { return count_; }
  char** names() const { return names_; }
  int capacity() const { return capacity_; }

 private:
  char** names_;
  int capacity_;
  int count_ = 0;
};

void list_usb_units(Listing& list) {
  usb_arrivals().clear();
  list.grow(usb_expander_enumerate(list.tail(), list.room()));
  if (!usb_arrivals().empty()) {
    // Arrival messages carry a time stamp: set the clock from the hardware clock first.
    runner().shell("/sbin/hwclock -s");
    auto mask = conf_get_int("/tmp/jbod_update_progress", "Global", "Mask Log");
    for (const UsbArrival& a : usb_arrivals())
      if (!mask || *mask == 0) usb_expander_do_notify_log_early(a);
  }
  usb_arrivals().clear();
}

void list_pcie_slots(Listing& list, int sas_first, int sas_found) {
  int slots = model::max_pcie_slot();
  int sas_stored = std::min(sas_found, std::max(0, list.capacity() - sas_first));
  for (int slot = 1; slot <= slots; ++slot) {
    // An HBA with an expander behind it is not a card enclosure of its own.
    if (sas_expander_in_pci_slot(list.names() + sas_first, sas_stored, slot)) continue;
    if (zmc_sys_enumerate(list.tail(), list.room(), slot) == 1) {
      list.grow(1);
      continue;
    }
    if (hzr_enclosure_enumerate(list.tail(), list.room(), slot) == 0) {
      list.grow(1);
      int index = comm_sys_get_hzr_index(slot);
      if (index >= 0) list.grow(mvs_enclosure_enumerate(list.tail(), list.room(), index));
      continue;
    }
    list.grow(pcie_enclosure_enumerate(list.tail(), list.room(), slot));
  }
}

void tag_sas_expanders(const Listing& list, int sas_first, int sas_found) {
  if (sas_found <= 0 || !udevd_running()) return;
  for (int i = sas_first; i < sas_first + sas_found; ++i) udev_tag(list.names()[i], "enc");
}

}  // namespace

int se_sys_enumerate(char** names, int capacity) {
  if (names == nullptr || capacity < 3) return 0;
  Listing list(names, capacity);
  for (EncKind fixed : {EncKind::kRoot, EncKind::kBoot, EncKind::kUsbPorts})
    list.add(enc_kind_name(fixed));
  uint32_t cap = model::system_cap();
  if ((cap & SE_CAP_NO_ESATA) == 0) list.add(enc_kind_name(EncKind::kEsata));
  if (cap & SE_CAP_ODD) list.add(enc_kind_name(EncKind::kOdd));
  if (cap & SE_CAP_CACHE) list.add(enc_kind_name(EncKind::kCache));
  if (cap & SE_CAP_MMC) list.add(enc_kind_name(EncKind::kMmc));
  if (::access(sys_path("/etc/enclosure_iscsi.bak").c_str(), F_OK) == 0) list.add(enc_kind_name(EncKind::kIscsi));
  int sas_first = list.count();
  int sas_found = sas_expander_enumerate(list.tail(), list.room());
  list.grow(sas_found);
  list_usb_units(list);
  list.grow(px_expander_enumerate(list.tail(), list.room()));
  if (cap & SE_CAP_PCIE_SLOTS) list_pcie_slots(list, sas_first, sas_found);
  if (cap & SE_CAP_TBT) list.grow(tb_enclosure_enumerate(list.tail(), list.room()));

  if (list.count() > capacity) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: count(%d) > max_count(%d)\n", __func__, list.count(), capacity);
    return list.count();
  }
  tag_sas_expanders(list, sas_first, sas_found);
  for (int i = 0; i < list.count(); ++i)
    ERR_TRACE(HAL_TRACE_INFO, "%s:enc_sys_id[%d] = %s\n", __func__, i, names[i]);
  return list.count();
}

}  // namespace bayhal
