// The enclosure record in hal.conf: what the writer stores and what the reader gives back.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "foundation/store_files.h"
#include "ini/ini_store.h"
#include "tests/enclosure/enc_test_util.h"

namespace bayhal::test {
namespace {

using EncRecordTest = SandboxTest;

std::string stored(int id, const char* key) {
  return ini_get(kHalConf, "Enclosure_" + std::to_string(id), key);
}

TEST_F(EncRecordTest, WritesKeysInOrderWithHexCapabilityWords) {
  SE_ENC_INFO info = make_record("root", 0x80400000u, 0);
  std::strcpy(info.real_sys_id, "sg3");
  std::strcpy(info.serial, "Q123");
  info.ss_max_channels = 4;
  info.ss_free_channels = 2;
  info.cache_port_bitmap = 0x6;
  ASSERT_EQ(se_write_conf(0, &info), 0);
  EXPECT_EQ(info.enc_id, 0);
  std::vector<std::string> keys;
  auto section = ini::read_section(kHalConf, "Enclosure_0");
  ASSERT_TRUE(section);
  for (auto& [k, v] : section->entries) keys.emplace_back(k);
  EXPECT_EQ(keys, (std::vector<std::string>{
                      "enc_id", "enc_sys_id", "real_sys_id", "serial", "vendor", "model",
                      "status", "protocol", "capability", "extended_capability", "max_disk_num",
                      "max_fan_num", "max_cpu_fan_num", "default_cpu_fan_count",
                      "factory_cpu_fan_count", "max_temp_num", "max_sys_temp_region",
                      "max_pcie_num", "max_nic_num", "max_conn_num", "max_ujbod_num",
                      "max_cpu_num", "enc_parent_sys_id", "enc_parent_port_id", "stack_id",
                      "revision", "cache_port_bitmap", "ss_max_channels", "ss_free_channels"}));
  EXPECT_EQ(stored(0, "capability"), "0x80400000");
  EXPECT_EQ(stored(0, "cache_port_bitmap"), "0x6");
  EXPECT_EQ(ini_get(kHalConf, "Index", "enc_sysid_root"), "0");
}

// Keys that only some records carry, and how the wwn is stored (text when it starts with a
// digit, else the hex of its first eight bytes).
TEST_F(EncRecordTest, ConditionalKeys) {
  struct Case {
    const char* sys_id;
    int protocol;
    std::function<void(SE_ENC_INFO&)> set;
    const char* key;
    const char* want;
  } cases[] = {
      {"5000ccab0200947e", 3, [](SE_ENC_INFO& i) { i.link_speed = 12; }, "sas_jbod_link_speed", "12"},
      {"5000ccab0200947e", 3, [](SE_ENC_INFO& i) { i.ss_max_channels = 4; }, "ss_max_channels", "<absent>"},
      {"root", 0, [](SE_ENC_INFO& i) { i.ss_max_channels = -1; i.ss_free_channels = 3; }, "ss_free_channels", "<absent>"},
      {"px_1", SE_PROTOCOL_PX, [](SE_ENC_INFO& i) { i.px_bus_speed = 5; }, "px_bus_speed", "5"},
      {"usb_2", SE_PROTOCOL_USB, [](SE_ENC_INFO& i) { std::strcpy(i.model, "MV-J4"); i.mv_bus_speed = 3; }, "mv_bus_speed", "3"},
      {"5000000000000001", SE_PROTOCOL_SAS, [](SE_ENC_INFO& i) { std::strcpy(i.model, "MV-J4"); i.mv_bus_speed = 3; }, "mv_bus_speed", "<absent>"},
      {"root", 0, [](SE_ENC_INFO& i) { i.max_conn_num = 2; i.conn_status[0] = 1; i.conn_status[1] = 16; i.conn_status[2] = 99; }, "conn_status", "0x1,0x10"},
      {"root", 0, [](SE_ENC_INFO& i) { i.conn_status[0] = 1; }, "conn_status", "<absent>"},
      {"root", 0, [](SE_ENC_INFO& i) { i.max_sys_extra_region_count = 3; i.region_max_fan_num[1] = 4; }, "region2_max_fan_num", "4"},
      {"root", 0, [](SE_ENC_INFO& i) { i.max_sys_extra_region_count = 3; }, "region3_max_fan_num", "<absent>"},
      {"w1", 3, [](SE_ENC_INFO& i) { std::strcpy(i.wwn, "5000c50012345678"); }, "wwn", "5000C50012345678"},
      {"w2", 3, [](SE_ENC_INFO& i) { std::memcpy(i.wwn, "\x50\x00\xc5\x00\x12\x34\x56\x78\x9a", 9); }, "wwn", "5000C50012345678"},
      {"w3", 3, [](SE_ENC_INFO& i) { i.wwn[19] = 7; }, "wwn", "0000000000000000"},
      {"w4", 3, [](SE_ENC_INFO&) {}, "wwn", "<absent>"},
  };
  int id = 32;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.sys_id) + " " + c.key);
    SE_ENC_INFO info = make_record(c.sys_id, 0, c.protocol, "root");
    c.set(info);
    ASSERT_EQ(se_write_conf(id, &info), 0);
    EXPECT_EQ(stored(id, c.key), c.want);
    SE_ENC_INFO back = make_record("x");
    ASSERT_EQ(se_read_conf(id, &back), 0);
    EXPECT_EQ(back.conn_status[2], 0u);
    ++id;
  }
}

TEST_F(EncRecordTest, ReadFillsDefaultsStaysInsideTheRecordAndFailsOnlyWithoutIdentity) {
  Ini_Conf_Set_Field(kHalConf, "Enclosure_5", "enc_id", "5");
  Ini_Conf_Set_Field(kHalConf, "Enclosure_5", "enc_sys_id", "root_usb");
  SE_ENC_INFO info;
  std::memset(&info, 0x5a, sizeof info);
  ASSERT_EQ(se_read_conf(5, &info), 0);
  EXPECT_STREQ(info.enc_sys_id, "root_usb");
  EXPECT_EQ(info.max_ujbod_num, -1);
  EXPECT_EQ(info.cache_port_bitmap, 0u);
  EXPECT_EQ(info.max_disk_num, 0x5a5a5a5a);  // absent keys leave the caller's value

  Ini_Conf_Set_Field(kHalConf, "Enclosure_6", "max_disk_num", "12");
  SE_ENC_INFO no_id = make_record("keep");
  EXPECT_EQ(se_read_conf(6, &no_id), -1);
  EXPECT_EQ(no_id.max_disk_num, 12);
  EXPECT_EQ(se_read_conf(6, nullptr), -1);
  EXPECT_EQ(SE_Get_Info(7, &info), -1);  // no section at all

  // Oversized stored counts and texts stay inside the record.
  Ini_Conf_Set_Field(kHalConf, "Enclosure_2", "enc_id", "2");
  Ini_Conf_Set_Field(kHalConf, "Enclosure_2", "enc_sys_id", "root_x");
  Ini_Conf_Set_Field(kHalConf, "Enclosure_2", "max_conn_num", "40");
  Ini_Conf_Set_Field(kHalConf, "Enclosure_2", "conn_status",
                     "0x1,0x2,0x3,0x4,0x5,0x6,0x7,0x8,0x9,0xa,0xb,0xc");
  Ini_Conf_Set_Field(kHalConf, "Enclosure_2", "model",
                     "a model name that is much longer than forty-one bytes of room");
  info = make_record("x");
  info.saved_real_sys_id[0] = 'k';
  ASSERT_EQ(se_read_conf(2, &info), 0);
  EXPECT_EQ(info.conn_status[8], 9u);
  EXPECT_EQ(info.saved_real_sys_id[0], 'k');
  EXPECT_EQ(std::strlen(info.model), 40u);
}

TEST_F(EncRecordTest, ChildIsLinkedIntoItsRegisteredParentOnly) {
  SE_ENC_INFO root_info = make_record("root", SE_CAP_INTERNAL, 0);
  SE_ENC_INFO top = make_record("5000ccab0200947e", 0, 3);  // its own parent
  SE_ENC_INFO child = make_record("5000ccab02009999", 0, 3, "5000ccab0200947e");
  SE_ENC_INFO orphan = make_record("5000ccab02001111", 0, 3, "unknown_parent");
  ASSERT_EQ(se_write_conf(0, &root_info), 0);
  ASSERT_EQ(se_write_conf(32, &top), 0);
  ASSERT_EQ(se_write_conf(33, &child), 0);
  ASSERT_EQ(se_write_conf(34, &orphan), 0);
  for (int id : {0, 32, 33, 34})
    EXPECT_EQ(ini_get(kHalConf, "Enclosure_" + std::to_string(id), "child_bitmap"),
              id == 32 ? "0x200000000" : "<absent>")
        << id;
}

TEST_F(EncRecordTest, RejectedIdentitiesWriteNothing) {
  for (const char* bad : {"mvs_bad id!", "bad=id", "mvs_"}) {
    SE_ENC_INFO info = make_record(bad, 0, SE_PROTOCOL_MVS, "root");
    EXPECT_EQ(se_write_conf(36, &info), -1) << bad;
  }
  EXPECT_EQ(se_write_conf(36, nullptr), -1);
  EXPECT_FALSE(root.exists(kHalConf));
  SE_ENC_INFO ok = make_record("mvs_1_2", 0, SE_PROTOCOL_MVS, "root");
  EXPECT_EQ(se_write_conf(36, &ok), 0);
}

}  // namespace
}  // namespace bayhal::test
