// Listing the disks of an enclosure. The filter needs every listed disk's capabilities, so
// the store is read once as a whole and the sections are looked up in that one buffer.
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "ini/ini_bitmap.h"
#include "ini/ini_file.h"
#include "ini/ini_text.h"

namespace bayhal::disk {

namespace {

constexpr unsigned kHasMembers = PD_CAP_HAS_MEMBERS;

// One consistent view of a store file.
class StoreView {
 public:
  explicit StoreView(const std::string& file) {
    SysPath path(file);
    loaded_ = path.ok() && buf_.load(path.c_str(), "PD_Enumerate_By_Cap") == 1;
  }
  bool loaded() const { return loaded_; }

  ini::Bitmap bitmap(std::string_view key) const {
    ini::Bitmap b;
    std::string_view v;
    if (loaded_ && ini::find_value(buf_.view(), kIndex, key, v)) b.parse(v);
    return b;
  }
  // "capabilities" of a disk; 0 when its record cannot be read.
  unsigned capabilities(int port_id) const {
    std::string_view v;
    if (!loaded_ || !ini::find_value(buf_.view(), section_for(port_id), "capabilities", v))
      return 0;
    return static_cast<unsigned>(std::strtoull(std::string(v).c_str(), nullptr, 10));
  }

 private:
  ini::FileBuffer buf_;
  bool loaded_ = false;
};

bool mode_passes(int mode, unsigned caps, unsigned mask) {
  switch (mode) {
    case PD_CAP_MODE_NONE: return (caps & mask) == 0;
    case PD_CAP_MODE_ANY: return (caps & mask) != 0;
    case PD_CAP_MODE_ALL: return (caps & mask) == mask;
    case PD_CAP_MODE_ALWAYS: return true;
    default: return false;
  }
}

struct Lister {
  int enc_id;
  unsigned mask;
  int mode;
  int* out;
  int size;
  PD_ENUM_CALLBACK callback;
  void* arg;
  int count = 0;

  bool full() const { return out != nullptr && count >= size; }
  void offer(int port_id, unsigned caps) {
    if (full() || !mode_passes(mode, caps, mask)) return;
    if (callback != nullptr && callback(enc_id, port_id, arg) != 0) return;
    if (out != nullptr) out[count] = port_id;
    ++count;
  }
};

}  // namespace

int enumerate_by_cap(int enc_id, unsigned mask, int mode, int* out, int size,
                     PD_ENUM_CALLBACK callback, void* arg) {
  if (enc_id < 0 || size < 0) return -1;
  StoreView view(store_file(enc_id));
  if (!view.loaded()) return 0;
  Lister l{enc_id, mask, mode, out, size, callback, arg};
  ini::Bitmap pd = view.bitmap(kPdBitmap);
  std::vector<int> groups;
  for (int p = pd.next_set(0); p >= 0 && p <= PD_MAX_PORT_ID_IN_BITMAP; p = pd.next_set(p + 1)) {
    unsigned caps = view.capabilities(p);
    l.offer(p, caps);
    // Member groups are looked for only behind the first 32 ports, deliberately.
    if (p <= PD_MEMBER_GROUP_PORT_MAX && (caps & kHasMembers)) groups.push_back(p);
  }
  for (int p : groups) {
    ini::Bitmap members = view.bitmap(member_bitmap_key(p));
    for (int k = members.next_set(0); k >= 0 && k < PD_MEMBER_PORT_ID_FACTOR;
         k = members.next_set(k + 1)) {
      int id = PD_MEMBER_PORT_ID_FACTOR * p + k;
      l.offer(id, view.capabilities(id));
    }
  }
  return l.count;
}

int enumerate_virtual(int enc_id, int* out, int size) {
  StoreView view(store_file(enc_id));
  if (!view.loaded()) return 0;
  ini::Bitmap vd = view.bitmap(kVirtualBitmap);
  int count = 0;
  int last = PD_VIRTUAL_PORT_ID_MAX - PD_VIRTUAL_PORT_ID_BASE;
  for (int n = vd.next_set(0); n >= 0 && n <= last; n = vd.next_set(n + 1)) {
    if (out != nullptr && count >= size) break;
    if (out != nullptr) out[count] = n;
    ++count;
  }
  return count;
}

}  // namespace bayhal::disk

BAYHAL_EXPORT int PD_Enumerate_By_Cap(int enc_id, unsigned int cap_mask, int mode, int* port_ids,
                                      int size, PD_ENUM_CALLBACK callback, void* arg) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, 0x%x, %d, %p, %d).\n", __func__, enc_id,
            cap_mask, mode, static_cast<void*>(port_ids), size);
  if (enc_id < 0 || size < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: invalid enc_id %d or size %d!\n", __func__, enc_id, size);
    return -1;
  }
  return bayhal::disk::enumerate_by_cap(enc_id, cap_mask, mode, port_ids, size, callback, arg);
}

BAYHAL_EXPORT int PD_Enumerate(int enc_id, int* port_ids, int size) {
  return PD_Enumerate_By_Cap(enc_id, 0, PD_CAP_MODE_ALWAYS, port_ids, size, nullptr, nullptr);
}

BAYHAL_EXPORT int PD_Enumerate_All(int* global_ids, int size) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %d).\n", __func__,
            static_cast<void*>(global_ids), size);
  if (size < 0) return -1;
  int total = 0;
  std::vector<int> ports(PD_MAX_PORT_ID_IN_BITMAP + 1 + 32 * PD_MEMBER_MAX_COUNT);
  for (int enc_id : bayhal::disk::enc_registered_ids()) {
    int room = global_ids != nullptr ? size - total : static_cast<int>(ports.size());
    if (room <= 0) break;
    if (room > static_cast<int>(ports.size())) room = static_cast<int>(ports.size());
    int n = bayhal::disk::enumerate_by_cap(enc_id, 0, PD_CAP_MODE_ALWAYS, ports.data(), room,
                                           nullptr, nullptr);
    for (int i = 0; i < n; ++i) {
      if (global_ids != nullptr) global_ids[total] = PD_GLOBAL_ID(enc_id, ports[i]);
      ++total;
    }
  }
  return total;
}

BAYHAL_EXPORT int VD_Enumerate(int enc_id, int* numbers, int size) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %p, %d).\n", __func__, enc_id,
            static_cast<void*>(numbers), size);
  if (enc_id < 0 || size < 0) return -1;
  return bayhal::disk::enumerate_virtual(enc_id, numbers, size);
}
