// The memory step: the SMBIOS memory device records must describe every slot of the model
// ("System Memory" MAX_SLOT_NUM) in a well-formed table; then each slot's module data is
// read once. Otherwise the description is marked as having no memory information.
#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "model/model_conf.h"
#include "model/smbios.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

constexpr char kSystemMemory[] = "System Memory";

bool memory_sane(const smbios::Table* table, long long slots) {
  if (table == nullptr || !table->well_formed) return false;
  size_t devices = table->of_type(17).size();
  return devices >= 1 && (slots < 1 || devices >= static_cast<size_t>(slots));
}

}  // namespace

int model_memory_step(ModelSetupReport* report) {
  const char* who = "se_sys_setup_model_conf";
  auto mem = ini::read_section(kModelConf, kSystemMemory);
  long long slots = mem ? mem->get_int("MAX_SLOT_NUM").value_or(0) : 0;
  auto table = smbios::read_table();
  if (memory_sane(table ? &*table : nullptr, slots)) {
    auto devices = table->of_type(17);
    for (long long slot = 1; slot <= slots; ++slot) {
      auto m = smbios::memory_device(*devices[static_cast<size_t>(slot - 1)]);
      if (!m) continue;
      ERR_TRACE(HAL_TRACE_INFO, "%s(%d): slot %lld: %s %llu MB %s %s\n", who, __LINE__, slot,
                m->locator.c_str(), static_cast<unsigned long long>(m->size_mb), m->type.c_str(),
                m->part_number.c_str());
      if (report != nullptr) report->memory.push_back(*m);
    }
    if (report != nullptr) report->memory_sane = true;
    return 0;
  }
  ERR_TRACE(HAL_TRACE_WARN, "%s(%d): memory information not available\n", who, __LINE__);
  if (Ini_Conf_Set_Field(kModelConf, kSystemMemory, "VARN_SUPPORT", "FALSE") <= 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): ERROR: Can't create %s for %s in %s\n", who, __LINE__,
              "VARN_SUPPORT", kSystemMemory, kModelConf);
    return -1;
  }
  for (const char* key : {"MAX_CHANNEL_NUM", "MAX_SLOT_NUM"}) {
    if (Ini_Conf_Set_Field_Int(kModelConf, kSystemMemory, key, -1, 0) <= 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): ERROR: Can't set %s to -1\n", who, __LINE__, key);
      return -1;
    }
  }
  return 0;
}

}  // namespace bayhal
