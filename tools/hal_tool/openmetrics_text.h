// The pieces of an OpenMetrics exposition (text format 1.0.0) that every family of
// hal_tool metrics writes the same way.
#pragma once
#include <string>

namespace hal_tool {

// "# TYPE NAME gauge", "# UNIT NAME UNIT" (unit nullptr: none) and "# HELP NAME HELP".
void om_header(std::string& out, const char* name, const char* unit, const char* help);
// A label value with backslash, quote and newline escaped.
void om_escaped(std::string& out, const std::string& text);
// " VALUE\n": whole numbers without the cost of floating-point formatting.
void om_value(std::string& out, double v);

}  // namespace hal_tool
