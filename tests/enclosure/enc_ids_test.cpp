// Enclosure ids: allocation ranges, the persistent map, stacking and disk ids.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <set>

#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "foundation/store_files.h"
#include "tests/enclosure/enc_test_util.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

constexpr const char* kMap = "/etc/config/enclosure.map";

class EncIdsTest : public SandboxTest {
 protected:
  // Attaches as far as the registry is concerned: id choice and the record.
  int attach(SE_ENC_INFO& info, int notify = 0) {
    int id = se_choose_enc_id(&info, notify);
    if (id >= 0) se_write_conf(id, &info);
    return id;
  }
  // Forgets an enclosure the way a detach does: record gone, persistent map kept.
  void unplug(int id, const char* sys_id) {
    Ini_Conf_Remove_Section(kHalConf, ("Enclosure_" + std::to_string(id)).c_str());
    Ini_Conf_Remove_Field(kHalConf, "Index", (std::string("enc_sysid_") + sys_id).c_str());
    se_detach_release_bit(id);
  }
  static SE_ENC_INFO jbod(const char* sys_id, unsigned char wwn_tail) {
    SE_ENC_INFO info = make_record(sys_id, 0, SE_PROTOCOL_SAS, "root");
    const unsigned char wwn[8] = {0x50, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, wwn_tail};
    std::memcpy(info.wwn, wwn, sizeof wwn);
    return info;
  }
  void attach_root() {
    SE_ENC_INFO r = make_record("root", SE_CAP_INTERNAL, 0);
    ASSERT_EQ(attach(r), 0);
  }
};

TEST_F(EncIdsTest, StartBitFollowsTheKindOfEnclosure) {
  struct Row { const char* id; uint32_t cap; int start; };
  for (Row r : {Row{"root", SE_CAP_INTERNAL, 0}, Row{"root_cache", SE_CAP_INTERNAL, 23},
                Row{"root_pcie_1", SE_CAP_INTERNAL, 23}, Row{"zmc2", 0, 23},
                Row{"root_iscsi", 0, 31}, Row{"root_mmc", 0, 32}, Row{"usb_x", 0, 32}}) {
    SCOPED_TRACE(r.id);
    EXPECT_EQ(se_id_start_bit(make_record(r.id, r.cap)), r.start);
  }
  SE_ENC_INFO r = make_record("root", SE_CAP_INTERNAL, 0);
  ASSERT_EQ(attach(r), 0);
  EXPECT_EQ(r.stack_id, 0);
  int again = -5;
  EXPECT_EQ(se_get_id("root", &again, &r) * 10 + again, -10) << "registered: no second id";
  EXPECT_EQ(ini_get(kMap, "Index", "enc_uid_root") + ini_get(kMap, "Index", "0"), "0enc_uid_root");
  EXPECT_TRUE(bit_set(kMap, 0) && bit_set(kHalConf, 0));
  SE_ENC_INFO cache = make_record("root_cache", SE_CAP_INTERNAL, 1, "root");
  SE_ENC_INFO iscsi = make_record("root_iscsi", 0, 4, "root");
  SE_ENC_INFO usb = make_record("root_usb", SE_CAP_INTERNAL, 2, "root");
  EXPECT_EQ(attach(cache), 23);
  EXPECT_EQ(attach(iscsi), 31);
  EXPECT_EQ(attach(usb), 1);
}

TEST_F(EncIdsTest, ThirtyTwoInternalEnclosuresExhaustTheInternalRange) {
  std::set<int> ids;
  for (int i = 0; i < 32; ++i) {
    SE_ENC_INFO info = make_record(("root_t" + std::to_string(i)).c_str(), SE_CAP_INTERNAL, 1);
    int id = -1;
    ASSERT_EQ(se_acquire_id(info.enc_sys_id, &id, &info), 0);
    ids.insert(id);
  }
  EXPECT_EQ(ids.size(), 32u);
  EXPECT_EQ(*ids.begin(), 0);
  EXPECT_EQ(*ids.rbegin(), 31);
  SE_ENC_INFO extra = make_record("root_t32", SE_CAP_INTERNAL, 1);
  int id = 7;
  EXPECT_EQ(se_acquire_id(extra.enc_sys_id, &id, &extra), -1);
  EXPECT_EQ(id, -1);
  EXPECT_FALSE(bit_set(kMap, 32));
  EXPECT_EQ(ini_get(kMap, "Index", "enc_uid_root_t32"), "<absent>");
  EXPECT_NE(trace_log(root).find("exceeds the max internal enclosure identifier 31!"),
            std::string::npos);
}

TEST_F(EncIdsTest, JbodKeepsItsIdAcrossUnplugAndIdsInTheMapAreNotAvailable) {
  attach_root();
  SE_ENC_INFO a = jbod("5001020304050601", 1), b = jbod("5001020304050602", 2),
              c = jbod("5001020304050603", 3);
  EXPECT_EQ(attach(a), 32);
  EXPECT_EQ(attach(b), 33);
  EXPECT_EQ(attach(c), 34);
  unplug(32, a.enc_sys_id);
  ASSERT_EQ(SE_Release_Id(32), 0);  // a is gone for good: 32 is free again
  unplug(34, c.enc_sys_id);
  EXPECT_FALSE(bit_set(kHalConf, 34));
  EXPECT_TRUE(bit_set(kMap, 34));
  SE_ENC_INFO again = jbod("5001020304050603", 3);
  EXPECT_EQ(attach(again), 34);
  EXPECT_TRUE(bit_set(kHalConf, 34));
  SE_ENC_INFO fresh = jbod("5001020304050609", 9);
  EXPECT_EQ(attach(fresh), 32);
  // Remembered ids are not available; -1 asks whether any id up to the maximum is.
  for (auto [id, available] : {std::pair{32, 0}, {35, 1}, {-1, 1}, {-3, 0}})
    EXPECT_EQ(SE_Is_Id_Available(id), available) << id;
  root.write("/etc/config/sysdef.conf", "[MISC]\nMax Enclosure Id = 2\n");
  for (const char* n : {"root_a", "root_b"}) {
    SE_ENC_INFO i = make_record(n, SE_CAP_INTERNAL, 1, "root");
    attach(i);
  }
  EXPECT_EQ(SE_Is_Id_Available(-1), 0);
}

// Serials real units report, with what a store key cannot hold: each keeps its own id
// across an unplug.
TEST_F(EncIdsTest, AnyUniqueIdRoundTripsThroughThePersistentMap) {
  attach_root();
  const char* serials[] = {"A[1]", "B=2", "C\x01\t", " D ", "E%5B", "E["};
  std::set<int> ids;
  for (size_t i = 0; i < std::size(serials); ++i) {
    std::string sys_id = "50010203040506a" + std::to_string(i);
    SE_ENC_INFO info = make_record(sys_id.c_str(), 0, SE_PROTOCOL_SAS, "root");
    std::snprintf(info.serial, sizeof info.serial, "%s", serials[i]);
    int id = attach(info);
    ASSERT_GE(id, 32) << serials[i];
    ids.insert(id);
    unplug(id, sys_id.c_str());
    EXPECT_EQ(se_lookup_id_in_persistent_mapping(&info), id) << serials[i];
  }
  EXPECT_EQ(ids.size(), std::size(serials));
}

TEST_F(EncIdsTest, SettersOfUnknownIdsFailAndWriteNothing) {
  attach_root();
  auto stores = [this] { return root.read(kMap) + root.read(kHalConf) + root.read("/tmp/.se_detached"); };
  std::string before = stores();
  struct Row { const char* what; std::function<int()> call; };
  for (const Row& r : {Row{"map release", [] { return se_release_id_in_persistent_mapping(40); }},
                       Row{"release", [] { return SE_Release_Id(41); }},
                       Row{"status", [] { return SE_Set_Status(7, 1); }},
                       Row{"serial", [] { return SE_Set_Serial_No(7, "S"); }},
                       Row{"real sys id", [] { return Clear_Real_Sys_Id_by_Enc_ID(7, "sg1"); }}}) {
    EXPECT_EQ(r.call(), -1) << r.what;
    EXPECT_EQ(stores(), before) << r.what;
  }
  EXPECT_EQ(se_release_id_in_persistent_mapping(-1), 0);
  EXPECT_FALSE(root.exists(kMap));
  EXPECT_EQ(se_release_id_in_persistent_mapping(-1), 0);  // already gone is fine
}

TEST_F(EncIdsTest, DisplayNameFollowsTheUnitAndReleaseRemovesEveryKeyOfTheId) {
  attach_root();
  SE_ENC_INFO mv = make_record("usb_3", 0, SE_PROTOCOL_USB, "root");
  std::strcpy(mv.model, "MV-J4");
  std::strcpy(mv.serial, "SN000123");
  ASSERT_EQ(attach(mv), 32);
  EXPECT_EQ(ini_get(kMap, "Index", "enc_32"), "MV-J4-0123");
  // The same unit back with a model text its firmware changed: the name follows.
  unplug(32, "usb_3");
  std::strcpy(mv.model, "MV-J8");
  EXPECT_EQ(attach(mv), 32);
  char name[49];
  EXPECT_EQ(SE_Enc_Map_Get_Enc_Name(32, name, sizeof name), 0);
  EXPECT_STREQ(name, "MV-J8-0123");
  ASSERT_EQ(SE_Release_Id(32), 0);
  EXPECT_EQ(ini_get("/tmp/.se_detached", "Enclosure_32", "detached"), "1");
  for (const char* key : {"enc_uid_SN000123", "32", "enc_32"})
    EXPECT_EQ(ini_get(kMap, "Index", key), "<absent>") << key;
  EXPECT_FALSE(bit_set(kMap, 32));
  EXPECT_EQ(ini_get(kMap, "Index", "enc_uid_root"), "0");
  EXPECT_EQ(SE_Enc_Map_Get_Enc_Name(32, name, sizeof name), -1);
  EXPECT_EQ(SE_Enc_Map_Get_Enc_Name(-1, name, sizeof name), -1);
  EXPECT_EQ(SE_Enc_Map_Get_Enc_Name(0, nullptr, 5), -1);
}

TEST_F(EncIdsTest, UniqueIdRules) {
  struct Row { const char* name; SE_ENC_INFO info; const char* uid; };
  SE_ENC_INFO root_like = make_record("root_usb");
  std::strcpy(root_like.serial, "ignored");
  SE_ENC_INFO text_wwn = make_record("5000c500");
  std::strcpy(text_wwn.wwn, "5000c50012345678");
  SE_ENC_INFO raw_wwn = make_record("exp");
  std::memcpy(raw_wwn.wwn, "\x50\x00\xc5\x00\x12\x34\x56\x78", 8);
  SE_ENC_INFO serial = make_record("usb_1");
  std::strcpy(serial.serial, "S3R1AL");
  SE_ENC_INFO bare = make_record("tb_0");
  for (const Row& r : {Row{"root name", root_like, "root_usb"},
                       Row{"text wwn is hexed as bytes", text_wwn, "3530303063353030"},
                       Row{"raw wwn", raw_wwn, "5000C50012345678"},
                       Row{"serial", serial, "S3R1AL"}, Row{"identity", bare, "tb_0"}}) {
    SCOPED_TRACE(r.name);
    char uid[SE_UNIQUE_ID_SIZE];
    ASSERT_EQ(SE_Get_Unique_Id(&r.info, uid, sizeof uid), 0);
    EXPECT_STREQ(uid, r.uid);
  }
  char small[5];
  ASSERT_EQ(SE_Get_Unique_Id(&serial, small, sizeof small), 0);
  EXPECT_STREQ(small, "S3R1");
  EXPECT_EQ(SE_Get_Unique_Id(nullptr, small, sizeof small), -1);
  EXPECT_EQ(SE_Get_Unique_Id(&serial, small, 0), -1);
}

TEST_F(EncIdsTest, GlobalDiskIdsAndTheWwnIndex) {
  EXPECT_EQ(se_gen_global_pd_id(2, 5), 131077);
  EXPECT_EQ(se_gen_global_pd_id(1, 0x12345), (1 << 16) | 0x2345);
  int enc = -1, port = -1;
  ASSERT_EQ(se_get_enc_pd_id(131077, &enc, &port), 0);
  EXPECT_EQ(enc * 10000 + port, 20005);
  EXPECT_EQ(se_get_enc_pd_id(131077, nullptr, &port), -1);

  ASSERT_EQ(se_write_pd_wwn_index(2, 5, "5000C500AABBCCDD"), 0);
  EXPECT_EQ(ini_get(kHalConf, "Index", "pd_wwn_5000C500AABBCCDD"), "00020005");
  enc = port = -1;
  EXPECT_EQ(se_read_pd_wwn_index("5000c500aabbccdd", &enc, &port), 0) << "a WWN in lower case";
  EXPECT_EQ(enc * 10000 + port, 20005);
  ASSERT_EQ(se_write_pd_wwn_index(33, 1003, "5000C500AABBCCDD"), 0);
  ASSERT_EQ(se_read_pd_wwn_index("5000C500AABBCCDD", &enc, &port), 0);
  EXPECT_EQ(enc * 10000 + port, 331003);
  EXPECT_EQ(se_remove_pd_wwn_index("5000C500AABBCCDD"), 0);
  EXPECT_EQ(se_read_pd_wwn_index("5000C500AABBCCDD", &enc, &port), -1);
  EXPECT_EQ(se_write_pd_wwn_index(1, 1, "bad=wwn"), -1);
  EXPECT_EQ(se_write_pd_wwn_index(1, 1, nullptr), -1);
  EXPECT_EQ(se_read_pd_wwn_index("", &enc, &port), -1);
}

TEST_F(EncIdsTest, SasChainIsRefusedAtTheFifthEnclosure) {
  root.stand_in("/sbin/log_tool");
  attach_root();
  std::string parent = "root";
  for (int depth = 1; depth <= 4; ++depth) {
    std::string name = "500000000000000" + std::to_string(depth);
    SE_ENC_INFO info = make_record(name.c_str(), 0, SE_PROTOCOL_SAS, parent.c_str());
    ASSERT_EQ(attach(info, 1), 31 + depth);
    EXPECT_EQ(info.stack_id, depth);
    parent = name;
  }
  EXPECT_TRUE(root.calls("log_tool").empty());
  SE_ENC_INFO fifth = make_record("5000000000000005", 0, SE_PROTOCOL_SAS, parent.c_str());
  EXPECT_EQ(attach(fifth, 1), -1);
  EXPECT_EQ(se_lookup_id("5000000000000005"), -1);
  EXPECT_EQ(ini_get(kMap, "Index", "enc_uid_5000000000000005"), "<absent>");
  EXPECT_FALSE(bit_set(kMap, 36));
  EXPECT_EQ(root.calls("log_tool"),
            std::vector<std::string>{"-a One SAS wide port supports a maximum 4.RAID expansion "
                                     "enclosures to be daisy-chained together. -t 1"});
  EXPECT_NE(trace_log(root).find("the current stack id 5 exceed the max stack number 4."),
            std::string::npos);
  SE_ENC_INFO quiet = make_record("5000000000000006", 0, SE_PROTOCOL_SAS, parent.c_str());
  EXPECT_EQ(attach(quiet, 0), -1);
  EXPECT_EQ(root.calls("log_tool").size(), 1u);
}

TEST_F(EncIdsTest, RememberedEnclosureRefusedByTheStackRuleLeavesNoMark) {
  root.write("/etc/config/sysdef.conf", "[MISC]\nMax Stack Num = 1\n");
  attach_root();
  SE_ENC_INFO tb1 = make_record("tb_1", 0, SE_PROTOCOL_TBT, "root");
  ASSERT_EQ(attach(tb1), 32);
  SE_ENC_INFO tb2 = make_record("tb_2", 0, SE_PROTOCOL_TBT, "tb_1");
  EXPECT_EQ(attach(tb2), -1);  // Thunderbolt depth comes from sysdef.conf
  EXPECT_EQ(se_get_max_stack_num(SE_PROTOCOL_TBT), 1);
  EXPECT_EQ(se_get_max_stack_num(SE_PROTOCOL_SAS), 4);
  // A remembered unit whose parent is not registered (illegal stack id) is refused too,
  // and its old id is not marked in use.
  unplug(32, "tb_1");
  SE_ENC_INFO lost = make_record("tb_1", 0, SE_PROTOCOL_TBT, "tb_9");
  EXPECT_EQ(attach(lost), -1);
  EXPECT_FALSE(bit_set(kHalConf, 32));
  EXPECT_NE(trace_log(root).find("the parent stack id -1 is illegal"), std::string::npos);
}

TEST_F(EncIdsTest, MapImportExportAndSync) {
  EXPECT_EQ(SE_Import_Enc_Map(), -1);
  EXPECT_NE(trace_log(root).find("can't find /etc/config/enclosure.map!"), std::string::npos);
  attach_root();
  SE_ENC_INFO j = jbod("5001020304050601", 1);
  ASSERT_EQ(attach(j), 32);
  // A new boot: hal.conf is rebuilt from nothing.
  root.write(kHalConf, "");
  EXPECT_FALSE(bit_set(kHalConf, 32));
  ASSERT_EQ(SE_Import_Enc_Map(), 0);
  EXPECT_TRUE(bit_set(kHalConf, 0));
  EXPECT_TRUE(bit_set(kHalConf, 32));

  // Lost map: sync seeds it from hal.conf, export fills in the identities.
  ASSERT_EQ(se_release_id_in_persistent_mapping(-1), 0);
  SE_ENC_INFO r = make_record("root", SE_CAP_INTERNAL, 0);
  se_write_conf(0, &r);
  ASSERT_EQ(se_sync_enc_bitmap(), 0);
  EXPECT_TRUE(bit_set(kMap, 32));
  EXPECT_EQ(ini_get(kMap, "Index", "enc_uid_root"), "<absent>");
  ASSERT_EQ(SE_Export_Enc_Map(), 0);
  EXPECT_EQ(ini_get(kMap, "Index", "enc_uid_root"), "0");
  // An existing map is never overwritten by sync.
  Ini_Conf_Bitmap_Set_Bit(kHalConf, "Index", "enc_bitmap", 40);
  se_sync_enc_bitmap();
  EXPECT_FALSE(bit_set(kMap, 40));
}

TEST_F(EncIdsTest, DisplayNameRule) {
  struct Row { const char* model; const char* serial; int size; int rc; const char* name; };
  for (Row r : {Row{"MV-J4", "SN000123", 49, 0, "MV-J4-0123"},
                Row{"  MV-J8  ", " 12 ", 49, 0, "MV-J8-12"},
                Row{"TL-D800S", "", 49, 0, "TL-D800S"},
                Row{"", "SN1", 49, -1, ""},
                Row{"ABCDEFGHIJ", "XYZ9876", 8, 0, "ABCDEFG"},
                Row{"M012345678901234567890123456789012345678", "SERIAL99", 200, 0,
                    "M012345678901234567890123456789012345678-AL99"}}) {
    SCOPED_TRACE(r.model);
    char name[200];
    EXPECT_EQ(se_sys_make_display_name(r.model, r.serial, name, r.size), r.rc);
    EXPECT_STREQ(name, r.name);
  }
  char tiny[1];
  EXPECT_EQ(se_sys_make_display_name("A", "B", nullptr, 5), -1);
  EXPECT_EQ(se_sys_make_display_name("A", "B", tiny, 0), -1);
}

// Real processes allocating enclosure ids at the same time never share one.
TEST_F(EncIdsTest, ConcurrentAllocationsNeverShareAnId) {
  constexpr int kProcs = 4;
  constexpr int kEach = 8;
  test::Pipe out;
  std::vector<pid_t> kids;
  for (int p = 0; p < kProcs; ++p)
    kids.push_back(test::spawn([&out, p] {
      out.close_read();
      int failures = 0;
      for (int i = 0; i < kEach; ++i) {
        std::string name = "usb_" + std::to_string(p) + "_" + std::to_string(i);
        SE_ENC_INFO info = make_record(name.c_str(), 0, SE_PROTOCOL_USB, "root");
        int id = -1;
        if (se_acquire_id(name.c_str(), &id, &info) != 0 || id < 0) ++failures;
        if (!out.put(id)) ++failures;
      }
      return failures == 0 ? 0 : 1;
    }));
  out.close_write();
  std::multiset<int> ids;
  for (int id; out.get(id);) ids.insert(id);
  for (pid_t pid : kids) EXPECT_EQ(test::join(pid), 0);
  ASSERT_EQ(ids.size(), static_cast<size_t>(kProcs * kEach));
  std::set<int> unique(ids.begin(), ids.end());
  EXPECT_EQ(unique.size(), ids.size());
  EXPECT_EQ(*unique.begin(), 32);
  EXPECT_EQ(*unique.rbegin(), 32 + kProcs * kEach - 1);
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count("/etc/config/enclosure.map", "Index", "enc_bitmap"),
            kProcs * kEach);
  // Every id's reverse link names the unit that got it.
  for (int got : unique) {
    std::string uid_key = ini_get("/etc/config/enclosure.map", "Index", std::to_string(got).c_str());
    ASSERT_NE(uid_key, "<absent>");
    EXPECT_EQ(ini_get("/etc/config/enclosure.map", "Index", uid_key.c_str()), std::to_string(got));
  }
}

}  // namespace
}  // namespace bayhal::test
