// The enclosure record in hal.conf: what the writer stores and what the reader gives back.
#include <gtest/gtest.h>

#include <cstring>

#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "ini/ini_store.h"
#include "tests/enclosure/enc_test_util.h"

namespace bayhal::test {
namespace {

class EncRecordTest : public SandboxTest {
 protected:
  std::vector<std::string> keys_of(const std::string& section, const char* file = "/etc/hal.conf") {
    std::vector<std::string> keys;
    if (auto s = ini::read_section(file, section))
      for (auto& [k, v] : s->entries) keys.emplace_back(k);
    return keys;
  }
};

TEST_F(EncRecordTest, WritesKeysInOrderWithHexCapabilityWords) {
  SE_ENC_INFO info = make_record("root", 0x80400000u, 0);
  std::strcpy(info.vendor, "Bay");
  std::strcpy(info.model, "TS-873");
  std::strcpy(info.serial, "Q123");
  std::strcpy(info.real_sys_id, "sg3");
  info.extended_capability = 0x11;
  info.max_disk_num = 8;
  info.ss_max_channels = 4;
  info.ss_free_channels = 2;
  info.cache_port_bitmap = 0x6;
  ASSERT_EQ(se_write_conf(0, &info), 0);
  EXPECT_EQ(info.enc_id, 0);
  std::vector<std::string> expected{
      "enc_id", "enc_sys_id", "real_sys_id", "serial", "vendor", "model", "status", "protocol",
      "capability", "extended_capability", "max_disk_num", "max_fan_num", "max_cpu_fan_num",
      "default_cpu_fan_count", "factory_cpu_fan_count", "max_temp_num", "max_sys_temp_region",
      "max_pcie_num", "max_nic_num", "max_conn_num", "max_ujbod_num", "max_cpu_num",
      "enc_parent_sys_id", "enc_parent_port_id", "stack_id", "revision", "cache_port_bitmap",
      "ss_max_channels", "ss_free_channels"};
  EXPECT_EQ(keys_of("Enclosure_0"), expected);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "capability"), "0x80400000");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "cache_port_bitmap"), "0x6");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Index", "enc_sysid_root"), "0");
}

TEST_F(EncRecordTest, ConditionalKeysFollowProtocolAndId) {
  SE_ENC_INFO sas = make_record("5000ccab0200947e", 0, 3, "root");
  sas.link_speed = 12;
  sas.ss_max_channels = 4;  // only the appliance keeps channel counts
  sas.ss_free_channels = 1;
  ASSERT_EQ(se_write_conf(32, &sas), 0);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_32", "sas_jbod_link_speed"), "12");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_32", "ss_max_channels"), "<absent>");

  SE_ENC_INFO root = make_record("root", 0, 0);
  root.ss_max_channels = -1;
  root.ss_free_channels = 3;
  ASSERT_EQ(se_write_conf(0, &root), 0);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "ss_free_channels"), "<absent>");

  SE_ENC_INFO px = make_record("px_1", 0, SE_PROTOCOL_PX, "root");
  px.px_bus_speed = 5;
  SE_ENC_INFO mv = make_record("usb_2", 0, SE_PROTOCOL_USB, "root");
  std::strcpy(mv.model, "MV-J4");
  mv.mv_bus_speed = 3;
  mv.link_err_type = 2;
  SE_ENC_INFO mv_sas = mv;
  mv_sas.protocol = SE_PROTOCOL_SAS;
  std::strcpy(mv_sas.enc_sys_id, "5000000000000001");
  ASSERT_EQ(se_write_conf(33, &px), 0);
  ASSERT_EQ(se_write_conf(34, &mv), 0);
  ASSERT_EQ(se_write_conf(35, &mv_sas), 0);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_33", "px_bus_speed"), "5");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_34", "mv_bus_speed"), "3");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_34", "link_err_type"), "2");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_35", "mv_bus_speed"), "<absent>");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_32", "px_bus_speed"), "<absent>");

  SE_ENC_INFO back = make_record("x");
  back.px_bus_speed = -7;
  ASSERT_EQ(se_read_conf(34, &back), 0);
  EXPECT_EQ(back.mv_bus_speed, 3);
  EXPECT_EQ(back.px_bus_speed, -7);  // not a PX enclosure: not read
}

struct WwnCase {
  const char* name;
  std::vector<unsigned char> bytes;
  const char* stored;
};

TEST_F(EncRecordTest, WwnIsTextWhenItStartsWithADigitElseEightRawBytes) {
  std::vector<WwnCase> cases{
      {"text", {'5', '0', '0', '0', 'c', '5', '0', '0', '1', '2', '3', '4', '5', '6', '7', '8'},
       "5000C50012345678"},
      {"raw", {0x50, 0x00, 0xc5, 0x00, 0x12, 0x34, 0x56, 0x78, 0x9a}, "5000C50012345678"},
      {"zero first, data later", std::vector<unsigned char>(20, 0), "0000000000000000"},
      {"all zero", {}, "<absent>"},
  };
  cases[2].bytes.push_back(0x7);
  int id = 40;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    SE_ENC_INFO info = make_record(("w" + std::to_string(id)).c_str());
    if (!c.bytes.empty()) std::memcpy(info.wwn, c.bytes.data(), c.bytes.size());
    ASSERT_EQ(se_write_conf(id, &info), 0);
    EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_" + std::to_string(id), "wwn"), c.stored);
    ++id;
  }
}

TEST_F(EncRecordTest, MinimalSectionReadsWithDefaultsAndKeepsTheRest) {
  root.write("/var/log/hal_lib.log.conf", "0xffff\n");
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_5", "enc_id", "5");
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_5", "enc_sys_id", "root_usb");
  SE_ENC_INFO info;
  std::memset(&info, 0x5a, sizeof info);
  ASSERT_EQ(se_read_conf(5, &info), 0);
  EXPECT_EQ(info.enc_id, 5);
  EXPECT_STREQ(info.enc_sys_id, "root_usb");
  EXPECT_EQ(info.max_ujbod_num, -1);
  EXPECT_EQ(info.max_cpu_num, 1);
  EXPECT_EQ(info.cache_port_bitmap, 0u);
  EXPECT_EQ(info.max_disk_num, 0x5a5a5a5a);
  EXPECT_EQ(info.capabilities, 0x5a5a5a5au);
  EXPECT_EQ(static_cast<unsigned char>(info.vendor[0]), 0x5a);
  EXPECT_EQ(static_cast<unsigned char>(info.real_sys_id[0]), 0x5a);
  EXPECT_NE(trace_log(root).find("can't retrieve real_sys_id value!"), std::string::npos);
}

TEST_F(EncRecordTest, MissingIdentityFailsButReadsTheRest) {
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_6", "enc_id", "6");
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_6", "max_disk_num", "12");
  SE_ENC_INFO info = make_record("keep");
  EXPECT_EQ(se_read_conf(6, &info), -1);
  EXPECT_EQ(info.max_disk_num, 12);
  EXPECT_STREQ(info.enc_sys_id, "keep");
  EXPECT_EQ(se_read_conf(6, nullptr), -1);
  EXPECT_EQ(SE_Get_Info(7, &info), -1);  // no section at all
}

TEST_F(EncRecordTest, ConnectorStatusRoundTrip) {
  SE_ENC_INFO info = make_record("root", 0, 0);
  info.max_conn_num = 2;
  info.conn_status[0] = 1;
  info.conn_status[1] = 16;
  info.conn_status[2] = 99;  // beyond max_conn_num: not stored
  ASSERT_EQ(se_write_conf(0, &info), 0);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "conn_status"), "0x1,0x10");
  SE_ENC_INFO back;
  std::memset(&back, 0, sizeof back);
  ASSERT_EQ(SE_Get_Info(0, &back), 0);
  EXPECT_EQ(back.max_conn_num, 2);
  EXPECT_EQ(back.conn_status[0], 1u);
  EXPECT_EQ(back.conn_status[1], 16u);
  EXPECT_EQ(back.conn_status[2], 0u);

  info.max_conn_num = 0;
  ASSERT_EQ(se_write_conf(1, &info), 0);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_1", "conn_status"), "<absent>");
}

TEST_F(EncRecordTest, OversizedStoredCountsStayInsideTheRecord) {
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_2", "enc_id", "2");
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_2", "enc_sys_id", "root_x");
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_2", "max_conn_num", "40");
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_2", "conn_status",
                     "0x1,0x2,0x3,0x4,0x5,0x6,0x7,0x8,0x9,0xa,0xb,0xc");
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_2", "model",
                     "a model name that is much longer than forty-one bytes of room");
  SE_ENC_INFO info = make_record("x");
  info.saved_real_sys_id[0] = 'k';
  ASSERT_EQ(se_read_conf(2, &info), 0);
  EXPECT_EQ(info.conn_status[8], 9u);
  EXPECT_EQ(info.saved_real_sys_id[0], 'k');
  EXPECT_EQ(std::strlen(info.model), 40u);
}

TEST_F(EncRecordTest, ExtraRegionKeysStopAtTwo) {
  SE_ENC_INFO info = make_record("root", 0, 0);
  info.max_sys_extra_region_count = 3;
  info.region_max_fan_num[0] = 2;
  info.region_max_fan_num[1] = 4;
  ASSERT_EQ(se_write_conf(0, &info), 0);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "max_sys_extra_region_count"), "3");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "region1_max_fan_num"), "2");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "region2_max_fan_num"), "4");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_0", "region3_max_fan_num"), "<absent>");

  info.max_sys_extra_region_count = 0;
  ASSERT_EQ(se_write_conf(1, &info), 0);
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_1", "max_sys_extra_region_count"), "<absent>");
  EXPECT_EQ(ini_get("/etc/hal.conf", "Enclosure_1", "region1_max_fan_num"), "<absent>");
}

TEST_F(EncRecordTest, ChildIsLinkedIntoItsRegisteredParentOnly) {
  SE_ENC_INFO root_info = make_record("root", SE_CAP_INTERNAL, 0);
  ASSERT_EQ(se_write_conf(0, &root_info), 0);
  SE_ENC_INFO top = make_record("5000ccab0200947e", 0, 3);  // its own parent
  ASSERT_EQ(se_write_conf(32, &top), 0);
  EXPECT_FALSE(Ini_Conf_Bitmap_Is_Bit_Set("/etc/hal.conf", "Enclosure_0", "child_bitmap", 32));
  EXPECT_FALSE(Ini_Conf_Bitmap_Is_Bit_Set("/etc/hal.conf", "Enclosure_32", "child_bitmap", 32));

  SE_ENC_INFO child = make_record("5000ccab02009999", 0, 3, "5000ccab0200947e");
  ASSERT_EQ(se_write_conf(33, &child), 0);
  EXPECT_TRUE(Ini_Conf_Bitmap_Is_Bit_Set("/etc/hal.conf", "Enclosure_32", "child_bitmap", 33));

  SE_ENC_INFO orphan = make_record("5000ccab02001111", 0, 3, "unknown_parent");
  ASSERT_EQ(se_write_conf(34, &orphan), 0);
  for (int id : {0, 32, 33, 34})
    EXPECT_FALSE(Ini_Conf_Bitmap_Is_Bit_Set("/etc/hal.conf",
                                            ("Enclosure_" + std::to_string(id)).c_str(),
                                            "child_bitmap", 34));
}

TEST_F(EncRecordTest, FolderStoreLeavesTheLiveStoreAlone) {
  SE_ENC_INFO info = make_record("root", 0, 0);
  root.mkdir("/tmp/rescan");
  ASSERT_EQ(se_write_conf(0, &info, "/tmp/rescan"), 0);
  EXPECT_EQ(ini_get("/tmp/rescan/hal.conf", "Enclosure_0", "enc_sys_id"), "root");
  EXPECT_EQ(ini_get("/tmp/rescan/hal.conf", "Index", "enc_sysid_root"), "0");
  EXPECT_FALSE(root.exists("/etc/hal.conf"));
}

TEST_F(EncRecordTest, RejectedIdentitiesWriteNothing) {
  for (const char* bad : {"mvs_bad id!", "bad=id", "mvs_"}) {
    SCOPED_TRACE(bad);
    SE_ENC_INFO info = make_record(bad, 0, SE_PROTOCOL_MVS, "root");
    EXPECT_EQ(se_write_conf(36, &info), -1);
  }
  EXPECT_EQ(se_write_conf(36, nullptr), -1);
  EXPECT_FALSE(root.exists("/etc/hal.conf"));
  SE_ENC_INFO ok = make_record("mvs_1_2", 0, SE_PROTOCOL_MVS, "root");
  EXPECT_EQ(se_write_conf(36, &ok), 0);
}

TEST_F(EncRecordTest, StatusAndJbodTests) {
  EXPECT_EQ(SE_Get_Status(3), -1);
  EXPECT_EQ(SE_Set_Status(-2, 1), -1);
  SE_ENC_INFO px = make_record("px_1", SE_CAP_INTERNAL, SE_PROTOCOL_PX, "root");
  SE_ENC_INFO mv = make_record("usb_1", SE_CAP_INTERNAL, SE_PROTOCOL_USB, "root");
  std::strcpy(mv.model, "MV-J8");
  SE_ENC_INFO plain = make_record("usb_2", SE_CAP_INTERNAL, SE_PROTOCOL_USB, "root");
  std::strcpy(plain.model, "XMV-J8");
  se_write_conf(3, &px);
  se_write_conf(4, &mv);
  se_write_conf(5, &plain);
  SE_ENC_INFO iscsi = make_record("root_iscsi", 0, SE_PROTOCOL_ISCSI, "root");
  se_write_conf(31, &iscsi);
  EXPECT_EQ(SE_Set_Status(3, 1), 0);
  EXPECT_EQ(SE_Get_Status(3), 1);
  EXPECT_EQ(SE_Is_Removing(3), 1);
  EXPECT_EQ(SE_Is_Removing(4), 0);
  struct Row { int id, px, mv, ext, internal; };
  for (Row r : {Row{3, 1, 0, 1, 0}, Row{4, 0, 1, 1, 0}, Row{5, 0, 0, 0, 1}, Row{31, 0, 0, 0, 1},
                Row{9, 0, 0, 0, 0}}) {
    SCOPED_TRACE(r.id);
    EXPECT_EQ(SE_Is_PX_JBOD(r.id), r.px);
    EXPECT_EQ(SE_Is_MV_JBOD(r.id), r.mv);
    EXPECT_EQ(SE_Is_External_JBOD(r.id), r.ext);
    EXPECT_EQ(SE_Is_Internal(r.id), r.internal);
  }
  char name[32];
  EXPECT_EQ(se_lookup_sys_id(4, name, sizeof name), 0);
  EXPECT_STREQ(name, "usb_1");
  EXPECT_EQ(se_lookup_sys_id(9, name, sizeof name), -1);
  EXPECT_EQ(se_lookup_id("usb_2"), 5);
}

}  // namespace
}  // namespace bayhal::test
