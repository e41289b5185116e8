// Writers killed with SIGKILL at random moments: the file always parses, every key holds
// its old or its new value, and a killed writer's temporary file is never taken for the
// store nor blocks the next writer.
#include <signal.h>

#include <random>
#include <string>

#include "bayhal/Ini_Conf.h"
#include "ini/ini_store.h"
#include "ini/ini_text.h"
#include "tests/support/child_process.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

using test::join;
using test::Pipe;
using test::spawn;

using IniCrash = test::SandboxTest;

constexpr int kKeys = 12;

std::string key_name(int k) { return "Temperature Threshold (F) " + std::to_string(k); }

// One writer generation: sets every key, one at a time or all in one write, to `value`,
// telling the parent before each step, then claims bits and repeats until killed.
int writer(const char* file, Pipe& ready, const std::string& value, bool batched) {
  ready.close_read();
  for (int round = 0;; ++round) {
    if (batched) {
      std::vector<std::pair<std::string, std::string>> all;
      for (int k = 0; k < kKeys; ++k) all.emplace_back(key_name(k), value);
      ready.put(round);
      if (ini::write_keys(file, "System Disk 1-2", all) != 0) return 1;
    } else {
      for (int k = 0; k < kKeys; ++k) {
        ready.put(round);
        if (Ini_Conf_Set_Field(file, "System Disk 1-2", key_name(k).c_str(), value.c_str()) <= 0)
          return 1;
      }
    }
    int bit;
    ready.put(round);
    if (Ini_Conf_Bitmap_Get_Next_Free_Bit(file, "Index", "bitmap", &bit, 0, 1) != 0) return 1;
  }
}

TEST_F(IniCrash, KilledWritersNeverLeaveATornOrLostFile) {
  std::mt19937 rng(20240611);
  int claimed_max = 0;
  for (int gen = 0; gen < 500; ++gen) {
    // Every fifth generation writes a persistent file, which takes the fsync path.
    const char* file = gen % 5 == 4 ? "/etc/config/crash.conf" : "/tmp/crash.conf";
    std::string new_value = "gen " + std::to_string(gen);
    // Values a key may hold now: the previous generation on this file, or this one.
    auto before = ini::read_section(file, "System Disk 1-2");

    Pipe ready;
    pid_t pid = spawn([&] { return writer(file, ready, new_value, gen % 2 == 0); });
    ready.close_write();
    int steps = static_cast<int>(rng() % 6) + 1, round = 0;
    for (int i = 0; i < steps && ready.get(round); ++i) {
    }
    // A short, random amount of work so the kill lands anywhere inside the step.
    for (unsigned spin = rng() % 60000; spin > 0; --spin) asm volatile("" ::: "memory");
    ::kill(pid, SIGKILL);
    EXPECT_EQ(join(pid), -1) << "the writer failed before it was killed (gen " << gen << ")";

    std::string text = root.read(file);
    ASSERT_TRUE(ini::is_ini(text)) << "gen " << gen << ":\n" << text;
    auto after = ini::read_section(file, "System Disk 1-2");
    for (int k = 0; k < kKeys; ++k) {
      const std::string_view* v = after ? after->find(key_name(k)) : nullptr;
      const std::string_view* was = before ? before->find(key_name(k)) : nullptr;
      bool ok = (v != nullptr && *v == new_value) || (v == nullptr && was == nullptr) ||
                (v != nullptr && was != nullptr && *v == *was);
      ASSERT_TRUE(ok) << "gen " << gen << " key " << k << " holds "
                      << (v ? *v : "(nothing)") << "\n" << text;
    }
    int count = Ini_Conf_Bitmap_Get_Set_Count(file, "Index", "bitmap");
    ASSERT_GE(count, 0);
    claimed_max = std::max(claimed_max, count);
  }
  // The leftovers of killed writers are never mistaken for the store, and the next writer
  // (who gets the dead writer's lock at once) replaces them.
  for (const char* file : {"/tmp/crash.conf", "/etc/config/crash.conf"}) {
    std::string text = root.read(file);
    EXPECT_GT(Ini_Conf_Set_Field(file, "After", "k", "v"), 0);
    EXPECT_FALSE(root.exists(std::string(file) + ".tmp"));
    EXPECT_EQ(root.read(file), text + (text.ends_with("\n\n") ? "" : "\n") + "[After]\nk = v\n");
  }
  EXPECT_GT(claimed_max, 0) << "no writer ever got as far as a claim";
}

}  // namespace
}  // namespace bayhal
