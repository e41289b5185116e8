// A simulated appliance for end-to-end tests: halsim serving a scenario under a sandbox root,
// hal_tool and halsim commands run as separate processes against it.
#pragma once
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/sandbox_root.h"
#include "tests/tools/run_process.h"

namespace bayhal::test {

inline const std::string kSampleScenario =
    std::string(BAYHAL_SOURCE_DIR) + "/examples/appliances/sample.ini";

class ApplianceTest : public SandboxTest {
 protected:
  ~ApplianceTest() override;

  // halsim --root ROOT start SCENARIO; the test fails when it does not start.
  void start(const std::string& scenario = kSampleScenario);
  // halsim --root ROOT stop; returns its exit code.
  int stop();

  ProcessResult hal_tool(const std::vector<std::string>& args);
  ProcessResult halsim(const std::vector<std::string>& args);
  // hal_tool --json ARGS, which must succeed; its envelope parsed.
  nlohmann::json query(const std::vector<std::string>& args);

  // The registered disks as (enclosure id, port id) -> serial.
  std::vector<std::pair<std::pair<int, int>, std::string>> slot_map();
  // Enclosure id of an identity in `hal_tool enc list`, -1 when not registered.
  int enc_id(const std::string& identity);

  // `text` with every occurrence of the root replaced by "$ROOT".
  std::string normalised(std::string text) const;

 private:
  bool running_ = false;
};

}  // namespace bayhal::test
