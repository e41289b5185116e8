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

// Every path below `dir` (relative to it, sorted), links not followed.
std::vector<std::string> list_tree(const std::string& dir);
// Target text of a symbolic link; empty when it is not one.
std::string link_text(const std::string& path);

}  // namespace bayhal::test
