#include "sim/halsim/sed_drives.h"

#include <filesystem>
#include <fstream>

#include "sim/sedutil/opal_drive.h"

namespace bayhal::sim::halsim {
namespace {

namespace fs = std::filesystem;

std::string state_dir(const std::string& root) { return root + kOpalStateDir; }

}  // namespace

void sed_power_on(const std::string& root, const Scenario& sc) {
  std::string dir = state_dir(root);
  fs::create_directories(dir + "/drives");
  std::error_code ec;
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec))
    if (it->is_symlink()) fs::remove(it->path(), ec);
  fs::remove(dir + "/.busy", ec);
  for (const Disk& d : sc.disks) {
    std::string file = dir + "/drives/" + d.name;
    if (!d.sed || fs::exists(file)) continue;
    std::string psid = d.psid.empty() ? "PSID" + d.serial : d.psid;
    OpalDrive drive = opal_factory_drive(d.model, d.serial, psid);
    drive.firmware = d.firmware;
    std::ofstream(file, std::ios::trunc) << opal_drive_text(drive);
  }
}

void sed_plug(const std::string& root, const PluggedDisk& pd, const Disk& d) {
  if (!d.sed || pd.sg.empty()) return;
  std::error_code ec;
  std::string link = state_dir(root) + "/" + pd.sg;
  fs::remove(link, ec);
  fs::create_symlink("drives/" + d.name, link, ec);
}

void sed_unplug(const std::string& root, const PluggedDisk& pd) {
  if (pd.sg.empty()) return;
  std::error_code ec;
  std::string link = state_dir(root) + "/" + pd.sg;
  if (fs::is_symlink(link, ec)) fs::remove(link, ec);
}

}  // namespace bayhal::sim::halsim
