#include "tests/tools/appliance.h"

#include <signal.h>

#include <fstream>

namespace bayhal::test {

ApplianceTest::~ApplianceTest() {
  if (!running_) return;
  if (stop() == 0) return;
  // The daemon did not answer: end it by the pid it recorded, so nothing outlives the test.
  std::ifstream pid_file(root.path("/run/halsim.pid"));
  int pid = 0;
  if (pid_file >> pid && pid > 1) ::kill(pid, SIGKILL);
}

void ApplianceTest::start(const std::string& scenario) {
  ProcessResult r = halsim({"start", scenario});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  running_ = true;
}

int ApplianceTest::stop() {
  ProcessResult r = halsim({"stop"});
  if (r.exit_code == 0) running_ = false;
  return r.exit_code;
}

ProcessResult ApplianceTest::hal_tool(const std::vector<std::string>& args) {
  std::vector<std::string> argv{HAL_TOOL_PATH, "--root", root.dir()};
  argv.insert(argv.end(), args.begin(), args.end());
  return run_process(argv, {"HAL_ROOT="});
}

ProcessResult ApplianceTest::halsim(const std::vector<std::string>& args) {
  std::vector<std::string> argv{HALSIM_PATH, "--root", root.dir()};
  argv.insert(argv.end(), args.begin(), args.end());
  return run_process(argv, {"HAL_ROOT="});
}

nlohmann::json ApplianceTest::query(const std::vector<std::string>& args) {
  std::vector<std::string> a{"--json"};
  a.insert(a.end(), args.begin(), args.end());
  ProcessResult r = hal_tool(a);
  EXPECT_EQ(r.exit_code, 0) << args.front() << ": " << r.err;
  auto j = nlohmann::json::parse(r.out, nullptr, false);
  EXPECT_FALSE(j.is_discarded()) << r.out;
  return j;
}

std::vector<std::pair<std::pair<int, int>, std::string>> ApplianceTest::slot_map() {
  std::vector<std::pair<std::pair<int, int>, std::string>> out;
  nlohmann::json j = query({"disk", "list"});
  for (const auto& d : j["disks"])
    out.push_back({{d["enc_id"].get<int>(), d["port_id"].get<int>()}, d["serial"].get<std::string>()});
  return out;
}

int ApplianceTest::enc_id(const std::string& identity) {
  nlohmann::json doc = query({"enc", "list"});
  for (const auto& e : doc["enclosures"])
    if (e["enc_sys_id"] == identity) return e["enc_id"].get<int>();
  return -1;
}

std::string ApplianceTest::normalised(std::string text) const {
  for (size_t at; (at = text.find(root.dir())) != std::string::npos;)
    text.replace(at, root.dir().size(), "$ROOT");
  return text;
}

}  // namespace bayhal::test
