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

RealTree::RealTree(std::string_view tarball) {
  std::string tmpl = (fs::temp_directory_path() / "bayhal-real-XXXXXX").string();
  if (::mkdtemp(tmpl.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  dir_ = tmpl;
  std::string src = test_data_dir() + "/external/" + std::string(tarball);
  // Plain tar, in the test only; both paths are quoted.
  std::string cmd = "tar -xf " + shell_quote(src) + " -C " + shell_quote(dir_) + " 2>/dev/null";
  ok_ = std::system(cmd.c_str()) == 0;
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
