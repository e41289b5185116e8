// Listing the disks of an enclosure from one read of its store: the Index bitmaps, and the
// capabilities of a disk only where a filter mode or a member group needs them.
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/store_text.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_bitmap.h"
#include "ini/ini_conf_util.h"

namespace bayhal::disk {

namespace {

constexpr unsigned kHasMembers = PD_CAP_HAS_MEMBERS;

// The parts of one store read that an enumeration needs: the Index bitmaps and, only
// where a filter or a member group asks, the capabilities of a disk.
class StoreIndex {
 public:
  explicit StoreIndex(const StoreText& store) : store_(store) {
    bool seen = false;  // only a section's first block counts
    store.for_each_section([&](std::string_view name, std::string_view body) {
      if (name == kIndex && !seen) read_index(body);
      seen = seen || name == kIndex;
    });
  }
  const ini::Bitmap& pd() const { return pd_; }
  const ini::Bitmap& virtual_disks() const { return virtual_; }
  // The member bitmap of a slot; nullptr when the store has none for it.
  const ini::Bitmap* members(int slot) const {
    auto it = members_.find(slot);
    return it == members_.end() ? nullptr : &it->second;
  }
  // "capabilities" of a disk; 0 when its record has none.
  unsigned capabilities(int port_id) {
    if (!caps_loaded_) load_capabilities();
    auto it = caps_.find(port_id);
    return it == caps_.end() ? 0 : it->second;
  }

 private:
  void read_index(std::string_view body) {
    StoreText::for_each_key_in(body, [&](std::string_view key, std::string_view value) {
      if (key.substr(0, 9) == "pd_sysid_") return;  // most of the section; not wanted here
      if (key == kPdBitmap) {
        if (!pd_seen_) pd_.parse(value);
        pd_seen_ = true;
      } else if (key == kVirtualBitmap) {
        if (!virtual_seen_) virtual_.parse(value);
        virtual_seen_ = true;
      } else if (int slot = member_slot_of(key); slot >= 0 && !members_.count(slot)) {
        members_[slot].parse(value);
      }
    });
  }
  // The slot of a "pd<slot>_member_bitmap" key, -1 for any other key.
  static int member_slot_of(std::string_view key) {
    constexpr std::string_view kSuffix = "_member_bitmap";
    if (key.size() <= 2 + kSuffix.size() || key.substr(0, 2) != "pd" ||
        key.substr(key.size() - kSuffix.size()) != kSuffix)
      return -1;
    std::string_view digits = key.substr(2, key.size() - 2 - kSuffix.size());
    int slot = 0;
    for (char c : digits) {
      if (c < '0' || c > '9' || slot > PD_SLOT_PORT_ID_MAX) return -1;
      slot = slot * 10 + (c - '0');
    }
    return slot;
  }
  void load_capabilities() {
    caps_loaded_ = true;
    store_.for_each_section([&](std::string_view name, std::string_view body) {
      int port = port_of_section(name);
      if (port < 0 || !seen_.insert(port).second) return;
      StoreText::for_each_key_in(body, [&](std::string_view key, std::string_view value) {
        if (key != "capabilities" || caps_.count(port)) return;
        long long v = 0;
        if (ini::parse_int(value, false, v)) caps_[port] = static_cast<unsigned>(v);
      });
    });
  }
  static int port_of_section(std::string_view name) {
    int base = 0;
    if (name.substr(0, 13) == "PhysicalDisk_") {
      name.remove_prefix(13);
    } else if (name.substr(0, 12) == "VirtualDisk_") {
      name.remove_prefix(12);
      base = PD_VIRTUAL_PORT_ID_BASE;
    } else {
      return -1;
    }
    // As the store writes it: no sign, no leading zero.
    if (name.empty() || name.size() > 7 || (name.size() > 1 && name[0] == '0')) return -1;
    int n = 0;
    for (char c : name) {
      if (c < '0' || c > '9') return -1;
      n = n * 10 + (c - '0');
    }
    return n + base;
  }

  const StoreText& store_;
  ini::Bitmap pd_;
  ini::Bitmap virtual_;
  bool pd_seen_ = false;
  bool virtual_seen_ = false;
  std::map<int, ini::Bitmap> members_;
  std::unordered_map<int, unsigned> caps_;
  std::unordered_set<int> seen_;  // sections read (their first block only)
  bool caps_loaded_ = false;
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
  thread_local StoreText store;
  if (!store.load(store_file(enc_id).c_str())) return 0;
  StoreIndex index(store);
  // Mode 3 lists every disk and other modes than 0-2 none: the capabilities matter only
  // for the filter modes and for finding member groups.
  bool filtering = mode >= PD_CAP_MODE_NONE && mode <= PD_CAP_MODE_ALL;
  Lister l{enc_id, mask, mode, out, size, callback, arg};
  std::vector<int> groups;
  const ini::Bitmap& pd = index.pd();
  for (int p = pd.next_set(0); p >= 0 && p <= PD_MAX_PORT_ID_IN_BITMAP; p = pd.next_set(p + 1)) {
    // Member groups are looked for only behind the first 32 ports, deliberately.
    bool group = p <= PD_MEMBER_GROUP_PORT_MAX && index.members(p) != nullptr;
    unsigned caps = filtering || group ? index.capabilities(p) : 0;
    l.offer(p, caps);
    if (group && (caps & kHasMembers)) groups.push_back(p);
  }
  for (int p : groups) {
    const ini::Bitmap& members = *index.members(p);
    for (int k = members.next_set(0); k >= 0 && k < PD_MEMBER_PORT_ID_FACTOR;
         k = members.next_set(k + 1)) {
      int id = PD_MEMBER_PORT_ID_FACTOR * p + k;
      l.offer(id, filtering ? index.capabilities(id) : 0);
    }
  }
  return l.count;
}

int enumerate_virtual(int enc_id, int* out, int size) {
  thread_local StoreText store;
  if (!store.load(store_file(enc_id).c_str())) return 0;
  StoreIndex index(store);
  const ini::Bitmap& vd = index.virtual_disks();
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
                                      int size, PD_ENUM_CALLBACK callback, void* arg) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, 0x%x, %d, %p, %d).\n", __func__, enc_id,
            cap_mask, mode, static_cast<void*>(port_ids), size);
  if (enc_id < 0 || size < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: invalid enc_id %d or size %d!\n", __func__, enc_id, size);
    return -1;
  }
  return bayhal::disk::enumerate_by_cap(enc_id, cap_mask, mode, port_ids, size, callback, arg);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Enumerate(int enc_id, int* port_ids, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %p, %d).\n", __func__, enc_id,
            static_cast<void*>(port_ids), size);
  return bayhal::disk::enumerate_by_cap(enc_id, 0, PD_CAP_MODE_ALWAYS, port_ids, size, nullptr,
                                        nullptr);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Enumerate_All(int* global_ids, int size) try {
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
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int VD_Enumerate(int enc_id, int* numbers, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %p, %d).\n", __func__, enc_id,
            static_cast<void*>(numbers), size);
  if (enc_id < 0 || size < 0) return -1;
  return bayhal::disk::enumerate_virtual(enc_id, numbers, size);
} BAYHAL_C_BOUNDARY(-1)
