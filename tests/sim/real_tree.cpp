#include "tests/sim/real_tree.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "foundation/command_runner.h"
#include "tests/support/test_files.h"

namespace bayhal::test {

namespace fs = std::filesystem;

bool unpack_into(std::string_view tarball, const std::string& dir, int strip) {
  std::string src = test_data_dir() + "/external/" + std::string(tarball);
  // Plain tar, in the test only; both paths are quoted.
  std::string cmd = "tar -xf " + shell_quote(src) + " -C " + shell_quote(dir);
  if (strip > 0) cmd += " --strip-components=" + std::to_string(strip);
  cmd += " 2>/dev/null";
  return std::system(cmd.c_str()) == 0;
}

RealTree::RealTree(std::string_view tarball) {
  std::string tmpl = (fs::temp_directory_path() / "bayhal-real-XXXXXX").string();
  if (::mkdtemp(tmpl.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  dir_ = tmpl;
  ok_ = unpack_into(tarball, dir_);
}

namespace {

bool is_pci_name(const std::string& n) {
  return n.size() == 12 && n[4] == ':' && n[7] == ':' && n[10] == '.';
}

bool is_unit_name(const std::string& n) {
  int colons = 0;
  for (char c : n) {
    if (c == ':') ++colons;
    else if (c < '0' || c > '9') return false;
  }
  return colons == 3;
}

bool add_link(const fs::path& link, const fs::path& target) {
  std::error_code ec;
  if (fs::exists(fs::symlink_status(link, ec))) return false;
  fs::create_directories(link.parent_path(), ec);
  fs::create_symlink(target.lexically_relative(link.parent_path()), link, ec);
  return !ec;
}

}  // namespace

int add_kernel_links(const std::string& root) {
  int made = 0;
  fs::path sys = fs::path(root) / "sys";
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(sys / "devices", ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (it->is_symlink() || !it->is_directory()) continue;
    std::string name = it->path().filename().string();
    std::string parent = it->path().parent_path().filename().string();
    if (is_pci_name(name))
      made += add_link(sys / "bus/pci/devices" / name, it->path());
    else if (is_unit_name(name))
      made += add_link(sys / "bus/scsi/devices" / name, it->path());
    else if (parent == "block" || fs::exists(it->path() / "partition"))
      made += add_link(sys / "class/block" / name, it->path());
    else if (name.rfind("nvme", 0) == 0 && fs::exists(it->path() / "size"))
      made += add_link(sys / "class/block" / name, it->path());
  }
  return made;
}

RealTree::~RealTree() {
  std::error_code ec;
  fs::remove_all(dir_, ec);
}

std::vector<std::string> list_tree(const std::string& dir) {
  std::vector<std::string> out;
  for (auto it = fs::recursive_directory_iterator(dir); it != fs::recursive_directory_iterator();
       ++it)
    out.push_back(it->path().lexically_relative(dir).string());
  std::sort(out.begin(), out.end());
  return out;
}

std::string link_text(const std::string& path) {
  std::error_code ec;
  if (!fs::is_symlink(fs::symlink_status(path, ec))) return {};
  return fs::read_symlink(path, ec).string();
}

}  // namespace bayhal::test
