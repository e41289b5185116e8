// Text the disk registry reads from files it does not control: a disk store (record fill
// and listing index through the header scan), a model list, a stored speed and a uevent.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "disk/disk_blacklist.h"
#include "disk/pd_record_io.h"
#include "disk/pd_speed.h"
#include "disk/store_text.h"
#include "disk_sys/pd_sys_devno.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  bayhal::disk::StoreText store;
  store.assign(text);
  PD_INFO info{};
  (void)bayhal::disk::fill_record(store, "PhysicalDisk_3", 3, &info);
  (void)bayhal::disk::fill_record(store, "VirtualDisk_5", 105, &info);
  (void)bayhal::disk::fill_record(store, "", 0, &info);
  size_t sections = 0;
  store.for_each_section([&](std::string_view, std::string_view) { ++sections; });
  (void)bayhal::disk::blacklist_matches(text, "ATA", "WDC WD40EFRX");
  (void)bayhal::disk::speed_text(text.substr(0, 64));
  (void)bayhal::devname_from_uevent(text);
  return 0;
}
