// Daisy-chain depth and the id choice of an attach.
#include <cstdio>
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "enc_sys/enc_kind.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "foundation/command_runner.h"

namespace bayhal {
namespace {

void report_chain_limit(int max_stack) {
  char msg[160];
  std::snprintf(msg, sizeof msg,
                "One SAS wide port supports a maximum %d.RAID expansion enclosures to be "
                "daisy-chained together.",
                max_stack);
  runner().exec({"/sbin/log_tool", "-a", msg, "-t", "1"});
}

// Applies the stack rule; false when the enclosure must not be attached.
bool check_stack(SE_ENC_INFO* info, int notify) {
  int parent_stack = se_get_stack_id(info->enc_parent_sys_id);
  if (!enc_is(info->enc_sys_id, EncKind::kRoot) && parent_stack < 0) {
    ERR_TRACE(HAL_TRACE_WARN, "%s: the parent stack id %d is illegal, ignore the attachment.\n",
              __func__, parent_stack);
    return false;
  }
  info->stack_id = parent_stack + 1;
  int max_stack = se_get_max_stack_num(info->protocol);
  if (info->stack_id > max_stack) {
    if (notify) report_chain_limit(max_stack);
    ERR_TRACE(HAL_TRACE_WARN, "%s: the current stack id %d exceed the max stack number %d.\n",
              __func__, info->stack_id, max_stack);
    return false;
  }
  return true;
}

}  // namespace

int se_get_stack_id(const char* enc_sys_id) {
  int enc_id = se_lookup_id(enc_sys_id);
  if (enc_id < 0) return -1;
  auto v = enc_get_int(enc_id, "stack_id");
  return v ? static_cast<int>(*v) : -1;
}

int se_get_max_stack_num(int protocol) {
  if (protocol != SE_PROTOCOL_TBT) return 4;
  return static_cast<int>(conf_get_int(kSysdefConf, "MISC", "Max Stack Num").value_or(4));
}

int se_choose_enc_id(SE_ENC_INFO* info, int notify) {
  if (info == nullptr) return -1;
  int enc_id = se_lookup_id_in_persistent_mapping(info);
  bool remembered = enc_id >= 0;
  if (enc_id != 0 && !check_stack(info, notify)) {
    // A refused enclosure leaves nothing behind, not even the in-use mark of its old id.
    if (remembered) se_detach_release_bit(enc_id);
    return -1;
  }
  if (!remembered) {
    se_get_id(info->enc_sys_id, &enc_id, info);
    char uid[SE_UNIQUE_ID_SIZE] = {};
    SE_Get_Unique_Id(info, uid, sizeof uid);
    ERR_TRACE(HAL_TRACE_INFO,
              "%s: Enclosure UID:%s is missed in persistent mapping file, allocate enc_id = %d.\n",
              __func__, uid, enc_id);
  }
  return enc_id;
}

}  // namespace bayhal
