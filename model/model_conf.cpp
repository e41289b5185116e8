// se_sys_setup_model_conf: choose the description that fits the board, link
// "/etc/model.conf" to it, correct it to the hardware fitted, then check the memory facts.
#include "model/model_conf.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/model_conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

constexpr char kPlatformConf[] = "/etc/platform.conf";

bool remove_live_description(const char* who) {
  if (::unlink(sys_path(kModelConf).c_str()) == 0 || errno == ENOENT) return true;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): ERROR: Can't remove original %s\n", who, __LINE__,
            kModelConf);
  return false;
}

enum class Choice { linked, kept, failed };

// Steps 1 to 6: which file "/etc/model.conf" is.
Choice choose_description(const char* who, const char** message, ModelSetupReport* report) {
  // The display name is made again from the chosen description later.
  Ini_Conf_Remove_Field(kPlatformConf, "MISC", "DISPLAY_NAME");
  auto sys = ini::read_section(kModelConf, kSystemEnclosure);
  long long format = sys ? sys->get_int("MULTI_CONF_FORMAT", false).value_or(0) : 0;

  std::string chosen;
  if (format >= 1) {
    char file[64] = "";
    if (se_sys_get_backplane_model_conf("root", file, sizeof file, static_cast<int>(format)) != 0) {
      if (message != nullptr) *message = kNotAvailable;
      if (report != nullptr) report->message = kNotAvailable;
      return Choice::kept;
    }
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d):Get model config file = %s\n", who, __LINE__, file);
    chosen = file;
    // The backplane may name the live description itself: then there is nothing to swap.
    if (chosen == kModelConf) return Choice::kept;
    if (!remove_live_description(who)) return Choice::failed;
  } else {
    auto multi = sys ? sys->get_int("MULTI_CONF", true) : std::nullopt;
    if (!multi) return Choice::kept;
    for (int i = 0; i < 32; ++i) {
      if (((static_cast<unsigned long long>(*multi) >> i) & 1) == 0) continue;
      std::string candidate = "/etc/model_" + std::to_string(i) + ".conf";
      if (!sysfs_exists(candidate)) {
        ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): ERROR:Multi model config but config = %s not exist.\n",
                  who, __LINE__, candidate.c_str());
        return Choice::failed;
      }
    }
    auto board = se_sys_get_board_id();
    // A board whose file is not among the family's candidates is not one this image knows.
    if (!board || ((static_cast<unsigned long long>(*multi) >> *board) & 1) == 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): ERROR: Get board ID fail\n", who, __LINE__);
      return Choice::failed;
    }
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d):Get Board ID = 0x%x\n", who, __LINE__, *board);
    if (!remove_live_description(who)) return Choice::failed;
    chosen = "/etc/model_" + std::to_string(*board) + ".conf";
  }

  // The link is relative ("model_N.conf"), so it still resolves when the root is moved or
  // mounted elsewhere.
  std::string target =
      std::filesystem::path(chosen).lexically_relative(std::filesystem::path(kModelConf).parent_path());
  if (chosen != kModelConf && ::symlink(target.c_str(), sys_path(kModelConf).c_str()) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): ERROR: Can't create symblic link for %s -->%s\n", who,
              __LINE__, kModelConf, chosen.c_str());
    return Choice::failed;
  }
  if (report != nullptr) report->chosen = chosen;
  return Choice::linked;
}

}  // namespace

int setup_model_conf(const char** message, ModelSetupReport* report) {
  const char* who = "se_sys_setup_model_conf";
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", who);
  if (choose_description(who, message, report) == Choice::failed) return -1;
  std::vector<FixupResult> fixups = run_model_fixups();
  if (report != nullptr) report->fixups = std::move(fixups);
  return model_memory_step(report);
}

}  // namespace bayhal

BAYHAL_EXPORT int se_sys_setup_model_conf(const char** message) try {
  return bayhal::setup_model_conf(message, nullptr);
} BAYHAL_C_BOUNDARY(-1)
