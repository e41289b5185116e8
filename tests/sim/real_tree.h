// Captured sysfs trees of real machines (tests/data/external), unpacked for one test.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace bayhal::test {

// Unpacks `tarball` (relative to tests/data/external) into a fresh temporary directory,
// removed again by the destructor.
class RealTree {
 public:
  explicit RealTree(std::string_view tarball);
  ~RealTree();
  RealTree(const RealTree&) = delete;
  RealTree& operator=(const RealTree&) = delete;

  // Host directory of the unpacked archive.
  const std::string& dir() const { return dir_; }
  bool ok() const { return ok_; }

 private:
  std::string dir_;
  bool ok_ = false;
};

// Unpacks `tarball` (relative to tests/data/external) into `dir`, dropping `strip` leading
// path components. False when tar failed.
bool unpack_into(std::string_view tarball, const std::string& dir, int strip = 0);

// Adds the links the kernel always has and the captures did not copy: /sys/bus/pci/devices
// for every PCI function, /sys/class/block for every block device and partition,
// /sys/bus/scsi/devices for every SCSI unit. Existing entries are left alone. Returns how
// many links it made.
int add_kernel_links(const std::string& root);

// Every path below `dir` (relative to it, sorted), links not followed.
std::vector<std::string> list_tree(const std::string& dir);
// Target text of a symbolic link; empty when it is not one.
std::string link_text(const std::string& path);

}  // namespace bayhal::test
