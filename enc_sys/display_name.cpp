// Display names of expansion units: what logs and the persistent map show for a JBOD.
//
// The rule: the model with surrounding blanks removed; when the serial is not blank, a '-'
// and the last four characters of the blank-trimmed serial follow (all of it when shorter),
// so two units of one model are told apart. Truncated to size - 1 (at most 48) bytes.
#include <string>
#include <string_view>

#include "bayhal/SE.h"
#include "enc_sys/display_name.h"
#include "foundation/text.h"

namespace bayhal {
namespace {

std::string_view trimmed(const char* text) {
  return text == nullptr ? std::string_view{} : trim(text);
}

}  // namespace

int se_sys_make_display_name(const char* model, const char* serial, char* name, int size) {
  if (name == nullptr || size < 1) return -1;
  name[0] = '\0';
  std::string_view m = trimmed(model);
  if (m.empty()) return -1;
  std::string out(m);
  std::string_view s = trimmed(serial);
  if (!s.empty()) {
    out += '-';
    out += s.substr(s.size() > 4 ? s.size() - 4 : 0);
  }
  int limit = size < SE_DISPLAY_NAME_SIZE ? size : SE_DISPLAY_NAME_SIZE;
  copy_out(out, name, limit);
  return 0;
}

}  // namespace bayhal
