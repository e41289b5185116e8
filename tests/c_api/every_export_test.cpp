// Every function the library exports writes its entry line when entry tracing is on, and
// survives harmless arguments (zeros and null pointers) on an empty root. The list is made
// at build time from what the library exports, so a new export cannot be left out.
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include "bayhal/bayhal.h"
#include "bayhal/PD_SMART.h"
#include "foundation/clock.h"
#include "foundation/err_trace.h"
#include "tests/support/sandbox_root.h"

namespace bayhal::test {
namespace {

const std::vector<std::string> kExported = {
#define BAYHAL_EXPORT_NAME(name) name,
#define BAYHAL_EXPORT_CALL(...)
#include "export_calls.inc"
#undef BAYHAL_EXPORT_NAME
#undef BAYHAL_EXPORT_CALL
};

using Call = void (*)();
const std::map<std::string, Call> kCalls = {
#define BAYHAL_EXPORT_NAME(name)
#define BAYHAL_EXPORT_CALL(name, ...) {#name, [] { (void)name(__VA_ARGS__); }},
#include "export_calls.inc"
#undef BAYHAL_EXPORT_NAME
#undef BAYHAL_EXPORT_CALL
};

// Calls that zeros cannot make harmless.
const std::map<std::string, Call> kShims = {
    {"fork_orphaned", [] { if (fork_orphaned() > 0) ::_exit(0); }},  // the orphan leaves at once
};

bool is_word_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Whether `word` stands in `text` on its own (not as a prefix of a longer name).
bool has_word(const std::string& text, const std::string& word) {
  for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
    size_t end = at + word.size();
    if ((at == 0 || !is_word_char(text[at - 1])) && (end == text.size() || !is_word_char(text[end])))
      return true;
  }
  return false;
}

class EveryExport : public SandboxTest {};

TEST_F(EveryExport, WritesItsEntryLine) {
  VirtualClock time;
  ScopedClock use_time(time);
  root.write("/var/log/hal_lib.log.conf", "0x4\n");
  ASSERT_GT(kExported.size(), 100u);
  for (const std::string& name : kExported) {
    // The tracer itself, and the configuration store, which every family calls for each key
    // and whose own calls are not entries into the hardware layer.
    if (name == "ERR_TRACE" || name.starts_with("Ini_Conf_") || name.starts_with("MVC_Lock_")) continue;
    auto shim = kShims.find(name);
    auto call = kCalls.find(name);
    if (shim == kShims.end() && call == kCalls.end()) {
      ADD_FAILURE() << name << " is exported without a prototype in include/bayhal";
      continue;
    }
    size_t before = root.read(trace_log_path()).size();
    (shim != kShims.end() ? shim->second : call->second)();
    std::string log = root.read(trace_log_path());
    EXPECT_TRUE(has_word(log.size() >= before ? log.substr(before) : log, name)) << name;
  }
}

}  // namespace
}  // namespace bayhal::test
