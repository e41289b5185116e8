#include "sim/ata_disk_model.h"

#include <cstring>

#include "disk_sys/ata_identify.h"
#include "disk_sys/ata_smart.h"

namespace bayhal::sim {
namespace {

void set_word(std::vector<uint8_t>& p, size_t w, uint16_t v) {
  p[2 * w] = static_cast<uint8_t>(v);
  p[2 * w + 1] = static_cast<uint8_t>(v >> 8);
}

// ATA strings: space-padded, two characters per word with the first in the high byte.
void set_string(std::vector<uint8_t>& p, size_t w, size_t words, const std::string& s) {
  for (size_t i = 0; i < words * 2; ++i) {
    uint8_t c = i < s.size() ? static_cast<uint8_t>(s[i]) : ' ';
    p[2 * w + (i ^ 1)] = c;
  }
}

void seal(std::vector<uint8_t>& page) {
  unsigned sum = 0;
  for (size_t i = 0; i + 1 < page.size(); ++i) sum += page[i];
  page[page.size() - 1] = static_cast<uint8_t>(-sum);
}

// libata's 16-character INQUIRY product and 4-character revision from the ATA strings.
std::string field(const std::string& s, size_t off, size_t n) {
  return off < s.size() ? s.substr(off, n) : std::string();
}

}  // namespace

std::vector<uint8_t> ata_identify_page(const AtaDiskSpec& s) {
  std::vector<uint8_t> p(512, 0);
  set_word(p, 0, 0x0040);  // fixed device, not removable
  set_string(p, 10, 10, s.serial);
  set_string(p, 23, 4, s.firmware);
  set_string(p, 27, 20, s.model);
  set_word(p, 47, 0x8010);
  set_word(p, 48, s.trusted_computing ? 0x4001 : 0x4000);
  set_word(p, 49, 0x2f00);  // LBA, DMA, IORDY
  set_word(p, 53, 0x0007);
  uint64_t lba28 = s.sectors > 0x0fffffff ? 0x0fffffff : s.sectors;
  set_word(p, 60, static_cast<uint16_t>(lba28));
  set_word(p, 61, static_cast<uint16_t>(lba28 >> 16));
  uint16_t gens = 0;
  for (int g = 1; g <= s.sata_gen && g <= 3; ++g) gens |= 1u << g;
  set_word(p, 76, gens | 0x0100);  // + NCQ
  set_word(p, 77, static_cast<uint16_t>((s.sata_cur_gen & 7) << 1));
  set_word(p, 80, 0x07f0);  // ATA8-ACS .. ACS-4
  set_word(p, 82, static_cast<uint16_t>(0x7468 | (s.smart ? 1 : 0)));
  set_word(p, 83, 0x7d09 | 0x0400);  // 48-bit addressing
  // Words 84 and 87: SMART error logging, self-test, WWN (valid when bits 15:14 read 01).
  uint16_t w84 = static_cast<uint16_t>(0x4001 | (s.self_test ? 0x0002 : 0) | (s.wwn ? 0x0100 : 0));
  set_word(p, 84, w84);
  set_word(p, 85, static_cast<uint16_t>(0x7468 | (s.smart && s.smart_enabled ? 1 : 0)));
  set_word(p, 86, 0xbc01 | 0x0400);
  set_word(p, 87, w84);
  for (int i = 0; i < 4; ++i) set_word(p, 100 + i, static_cast<uint16_t>(s.sectors >> (16 * i)));
  if (s.logical_sector_size != 512) {
    set_word(p, 106, 0x5000);  // valid, logical sector longer than 256 words
    uint32_t words = s.logical_sector_size / 2;
    set_word(p, 117, static_cast<uint16_t>(words));
    set_word(p, 118, static_cast<uint16_t>(words >> 16));
  } else {
    set_word(p, 106, 0x4000);
  }
  for (int i = 0; i < 4; ++i)
    set_word(p, 108 + i, static_cast<uint16_t>(s.wwn >> (16 * (3 - i))));
  set_word(p, 168, static_cast<uint16_t>(s.form_factor & 0x0f));
  set_word(p, 169, s.trim ? 1 : 0);
  set_word(p, 217, s.rotation < 0 ? 0 : s.rotation == 0 ? 1 : static_cast<uint16_t>(s.rotation));
  set_word(p, 222, 0x101f);  // SATA 3.x transport
  set_word(p, 255, 0x00a5);
  seal(p);
  return p;
}

std::vector<uint8_t> ata_smart_data_page(const AtaDiskSpec& s) {
  std::vector<uint8_t> p(512, 0);
  p[0] = 0x10;  // revision
  for (size_t i = 0; i < s.attrs.size() && i < 30; ++i) {
    uint8_t* a = &p[2 + 12 * i];
    a[0] = s.attrs[i].id;
    a[1] = static_cast<uint8_t>(s.attrs[i].flags);
    a[2] = static_cast<uint8_t>(s.attrs[i].flags >> 8);
    a[3] = s.attrs[i].value;
    a[4] = s.attrs[i].worst;
    for (int b = 0; b < 6; ++b) a[5 + b] = static_cast<uint8_t>(s.attrs[i].raw >> (8 * b));
  }
  p[362] = 0x82;  // off-line collection completed
  p[363] = 0x00;  // last self-test completed without error
  p[367] = 0x7b;
  p[368] = 0x03;  // SMART save and auto-save
  p[370] = 0x01;  // error logging
  p[372] = 2;     // short self-test minutes
  p[373] = 120;   // extended self-test minutes
  seal(p);
  return p;
}

std::vector<uint8_t> ata_smart_threshold_page(const AtaDiskSpec& s) {
  std::vector<uint8_t> p(512, 0);
  p[0] = 0x10;
  for (size_t i = 0; i < s.attrs.size() && i < 30; ++i) {
    p[2 + 12 * i] = s.attrs[i].id;
    p[3 + 12 * i] = s.attrs[i].threshold;
  }
  seal(p);
  return p;
}

SataDiskModel::SataDiskModel(const AtaDiskSpec& spec)
    : identify_(ata_identify_page(spec)),
      smart_data_(ata_smart_data_page(spec)),
      smart_thresholds_(ata_smart_threshold_page(spec)),
      smart_ok_(spec.smart_ok) {
  decode_identity();
}

SataDiskModel::SataDiskModel(std::vector<uint8_t> identify, std::vector<uint8_t> smart_data,
                             std::vector<uint8_t> smart_thresholds)
    : identify_(std::move(identify)),
      smart_data_(std::move(smart_data)),
      smart_thresholds_(std::move(smart_thresholds)),
      smart_ok_(!ata_threshold_exceeded(smart_data_, smart_thresholds_)) {
  identify_.resize(512);
  decode_identity();
}

bool ata_threshold_exceeded(const std::vector<uint8_t>& data, const std::vector<uint8_t>& thresholds) {
  SmartReading r;
  return ata_smart_parse_pages(data.data(), data.size(), thresholds.data(), thresholds.size(),
                               kAtaSmartSlots, 0, r) &&
         ata_smart_threshold_exceeded(r);
}

void SataDiskModel::set_status_byte(uint8_t value) {
  if (smart_data_.size() < 512) return;
  // The checksum moves with the byte, so a page that arrived damaged stays damaged.
  smart_data_[511] = static_cast<uint8_t>(smart_data_[511] - (value - smart_data_[363]));
  smart_data_[363] = value;
}

void SataDiskModel::self_test(uint8_t subcommand) {
  if (smart_data_.size() < 512) return;
  bool running = (smart_data_[363] >> 4) == 0x0f;
  if (subcommand == 127) {
    if (running) set_status_byte(0x10);  // aborted by the host
  } else {
    set_status_byte(0xf9);  // in progress, 90 % to go
  }
}

void SataDiskModel::advance_self_test() {
  if (smart_data_.size() < 512 || (smart_data_[363] >> 4) != 0x0f) return;
  int left = (smart_data_[363] & 0x0f) - 3;
  set_status_byte(left > 0 ? static_cast<uint8_t>(0xf0 | left) : 0x00);
}

void SataDiskModel::decode_identity() {
  AtaIdentity id;
  ata_identify_parse(identify_.data(), identify_.size(), id);
  model_ = id.model;
  serial_ = id.serial;
  firmware_ = id.firmware;
  sectors_ = id.sectors;
  sector_size_ = id.logical_sector_size;
}

std::vector<uint8_t> SataDiskModel::standard_inquiry() {
  // libata: revision from firmware characters 5-8, or 1-4 when those are blank.
  std::string rev = field(firmware_, 4, 4);
  if (rev.find_first_not_of(' ') == std::string::npos) rev = field(firmware_, 0, 4);
  return inquiry_page(0, false, "ATA", field(model_, 0, 16), rev);
}

std::vector<uint8_t> SataDiskModel::vpd(uint8_t page) {
  AtaIdentity id;
  ata_identify_parse(identify_.data(), identify_.size(), id);
  switch (page) {
    case 0x00:
      return vpd_page(0x00, {0x00, 0x80, 0x83, 0x89, 0xb1});
    case 0x80: {
      std::string s = serial_;
      s.resize(20, ' ');
      return vpd_page(0x80, std::vector<uint8_t>(s.begin(), s.end()));
    }
    case 0x83: {
      // T10 vendor id "ATA" + model + serial, and the NAA from the WWN when there is one.
      std::string t10 = "ATA     " + model_;
      t10.resize(48, ' ');
      t10 += serial_;
      std::vector<uint8_t> body(4 + t10.size(), 0);
      body[0] = 0x02;  // ASCII
      body[1] = 0x01;  // logical unit, T10 vendor id
      body[3] = static_cast<uint8_t>(t10.size());
      std::memcpy(body.data() + 4, t10.data(), t10.size());
      if (id.wwn_supported) {
        size_t at = body.size();
        body.resize(at + 12);
        body[at] = 0x01;      // binary
        body[at + 1] = 0x03;  // logical unit, NAA
        body[at + 3] = 8;
        std::memcpy(body.data() + at + 4, id.wwn, 8);
      }
      return vpd_page(0x83, body);
    }
    case 0x89: {
      // Page length 0x238; the IDENTIFY data sits at byte 60 of the page.
      std::vector<uint8_t> body(0x238, 0);
      const char* sat = "linux   libata          1.00";
      std::memcpy(body.data() + 4, sat, std::strlen(sat));
      body[56 - 4] = 0xec;  // command code of the IDENTIFY data that follows
      std::memcpy(body.data() + 60 - 4, identify_.data(), 512);
      return vpd_page(0x89, body);
    }
    case 0xb1: {
      std::vector<uint8_t> body(0x3c, 0);
      body[0] = identify_[2 * 217 + 1];
      body[1] = identify_[2 * 217];
      body[3] = static_cast<uint8_t>(id.form_factor);
      return vpd_page(0xb1, body);
    }
    default:
      return {};
  }
}

bool SataDiskModel::capacity(uint64_t& blocks, uint32_t& block_len) {
  blocks = sectors_;
  block_len = sector_size_;
  return sectors_ > 0;
}

}  // namespace bayhal::sim
