#include "tools/hal_tool/openmetrics_text.h"

#include <charconv>
#include <cstdio>

namespace hal_tool {

void om_escaped(std::string& out, const std::string& text) {
  for (char c : text) {
    if (c == '\\' || c == '"') out += '\\';
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    out += c;
  }
}

void om_value(std::string& out, double v) {
  char buf[32];
  if (auto whole = static_cast<long long>(v); whole == v) {
    buf[0] = ' ';
    char* end = std::to_chars(buf + 1, buf + sizeof buf - 1, whole).ptr;
    *end++ = '\n';
    out.append(buf, static_cast<size_t>(end - buf));
    return;
  }
  std::snprintf(buf, sizeof buf, " %.15g\n", v);
  out += buf;
}

void om_header(std::string& out, const char* name, const char* unit, const char* help) {
  out += std::string("# TYPE ") + name + " gauge\n";
  if (unit != nullptr) out += std::string("# UNIT ") + name + " " + unit + "\n";
  out += std::string("# HELP ") + name + " " + help + "\n";
}

}  // namespace hal_tool
