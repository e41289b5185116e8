#include "sim/halsim/root_writer.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "foundation/command_runner.h"
#include "sim/halsim/model_writer.h"

namespace bayhal::sim::halsim {
namespace {

namespace fs = std::filesystem;

void write_file(const fs::path& path, const std::string& text, bool executable = false) {
  fs::create_directories(path.parent_path());
  fs::path tmp = path;
  tmp += ".halsim-tmp";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) throw fs::filesystem_error("write failed", tmp, std::make_error_code(std::errc::io_error));
  }
  if (executable) ::chmod(tmp.c_str(), 0755);
  fs::rename(tmp, path);
}

}  // namespace

const char* const kStandIns[] = {
    "/sbin/udevadm",   "/sbin/log_tool", "/etc/init.d/pd_attach", "/etc/init.d/pd_detach",
    "/sbin/dmidecode", "/sbin/hwclock",  "/sbin/syscfg",          "/sbin/sedutil-cli",
    "/sbin/rmmod",     "/sbin/insmod",   "/sbin/hal_tool",        "/sbin/storage_util",
    nullptr};

std::string prepare_root(const std::string& root, std::string& error) {
  if (root.empty() || root.front() != '/') {
    error = "the system root must be an absolute path";
    return {};
  }
  std::error_code ec;
  fs::create_directories(root, ec);
  fs::path canonical = fs::weakly_canonical(root, ec);
  if (ec || !fs::is_directory(canonical)) {
    error = root + ": not a usable directory";
    return {};
  }
  if (canonical == "/") {
    error = "refusing to use / as a simulated appliance root";
    return {};
  }
  return canonical.string();
}

std::string calls_log(const std::string& root, const std::string& program) {
  return root + "/calls/" + fs::path(program).filename().string() + ".log";
}

void clear_volatile(const std::string& root) {
  std::error_code ec;
  for (const char* dir : {"/sys", "/dev", "/tmp", "/run", "/var/run", "/var/lock", "/calls"})
    fs::remove_all(root + dir, ec);
  // The live registries are rebuilt by discovery at every boot; /etc/config persists.
  for (fs::directory_iterator it(root + "/etc", ec), end; !ec && it != end; it.increment(ec)) {
    std::string name = it->path().filename().string();
    if (it->is_regular_file() && (name.ends_with(".conf") || name.ends_with(".lck") || name == "model.conf"))
      fs::remove(it->path(), ec);
    if (it->is_symlink()) fs::remove(it->path(), ec);
  }
}

void write_firmware_files(const std::string& root, const Scenario& sc) {
  for (const auto& [path, text] : description_files(sc)) write_file(root + path, text);
  write_file(root + "/etc/platform.conf", platform_conf_text(sc));
  if (!fs::exists(root + "/etc/config/sysdef.conf"))
    write_file(root + "/etc/config/sysdef.conf", sysdef_conf_text(sc));
  for (const char* dir : {"/dev", "/sys", "/tmp", "/run", "/var/run", "/var/lock", "/var/log", "/calls", "/etc/config"})
    fs::create_directories(root + dir);
}

namespace {

// The sedutil-cli stand-in program, built and installed beside halsim.
std::string sedutil_stand_in() {
  std::error_code ec;
  fs::path self = fs::read_symlink("/proc/self/exe", ec);
  fs::path program = self.parent_path() / "halsim-sedutil-cli";
  return !ec && fs::is_regular_file(program, ec) ? program.string() : std::string();
}

}  // namespace

void install_stand_ins(const std::string& root) {
  for (const char* const* p = kStandIns; *p != nullptr; ++p) {
    if (std::string program = sedutil_stand_in(); std::string_view(*p) == "/sbin/sedutil-cli" && !program.empty()) {
      fs::create_directories(fs::path(root + *p).parent_path());
      fs::copy_file(program, root + *p, fs::copy_options::overwrite_existing);
      continue;
    }
    std::string script = "#!/bin/sh\n# halsim stand-in for " + std::string(*p) +
                         ": records its arguments, one call per line.\necho \"$*\" >> " +
                         shell_quote(calls_log(root, *p)) + "\nexit 0\n";
    write_file(root + *p, script, true);
  }
}

}  // namespace bayhal::sim::halsim
