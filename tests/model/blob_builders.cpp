#include "tests/model/blob_builders.h"

namespace bayhal::test {
namespace {

void le16(Bytes& b, size_t at, uint16_t v) {
  b[at] = v & 0xFF;
  b[at + 1] = v >> 8;
}
void le32(Bytes& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = (v >> (8 * i)) & 0xFF;
}

uint8_t zero_sum_byte(const Bytes& b, size_t from, size_t to) {
  uint8_t sum = 0;
  for (size_t i = from; i < to; ++i) sum = static_cast<uint8_t>(sum + b[i]);
  return static_cast<uint8_t>(0x100 - sum);
}

}  // namespace

DmiBuilder& DmiBuilder::add(uint8_t type, uint16_t handle, const Bytes& body,
                            const std::vector<std::string>& strings) {
  bytes_.push_back(type);
  bytes_.push_back(static_cast<uint8_t>(4 + body.size()));
  bytes_.push_back(handle & 0xFF);
  bytes_.push_back(handle >> 8);
  bytes_.insert(bytes_.end(), body.begin(), body.end());
  for (const std::string& s : strings) {
    bytes_.insert(bytes_.end(), s.begin(), s.end());
    bytes_.push_back(0);
  }
  if (strings.empty()) bytes_.push_back(0);
  bytes_.push_back(0);
  return *this;
}

DmiBuilder& DmiBuilder::memory_device(uint16_t handle, const Dimm& d) {
  Bytes f(d.length, 0);  // formatted area including the 4 header bytes
  le16(f, 0x04, 0x1000);
  le16(f, 0x06, 0xFFFE);
  le16(f, 0x08, 64);
  le16(f, 0x0A, 64);
  le16(f, 0x0C, d.size_word);
  f[0x0E] = 0x09;  // DIMM
  f[0x10] = 1;     // locator
  f[0x11] = 2;     // bank
  f[0x12] = d.type;
  if (d.length >= 0x17) le16(f, 0x15, d.speed);
  if (d.length >= 0x1B) {
    f[0x17] = 3;
    f[0x18] = 4;
    f[0x1A] = 5;
  }
  if (d.length >= 0x1C) f[0x1B] = 1;  // single rank
  if (d.length >= 0x20) le32(f, 0x1C, d.ext_size_mb);
  if (d.length >= 0x22) le16(f, 0x20, d.speed);
  return add(17, handle, Bytes(f.begin() + 4, f.end()),
             {d.locator, d.bank, d.manufacturer, d.serial, d.part});
}

DmiBuilder& DmiBuilder::power_supply(uint16_t handle, bool present, const std::string& name) {
  Bytes f(0x16, 0);
  f[0x04] = 1;
  f[0x05] = 1;  // location
  f[0x06] = 2;  // device name
  le16(f, 0x0C, 550);
  le16(f, 0x0E, static_cast<uint16_t>((present ? 0x2 : 0) | 0x1 | (3 << 7)));
  return add(39, handle, Bytes(f.begin() + 4, f.end()), {"Rear", name});
}

DmiBuilder& DmiBuilder::end_of_table(uint16_t handle) { return add(127, handle, {}, {}); }

Bytes fru_image(const FruBoard& b) {
  Bytes area{0x01, 0x00, 0x19, 0x00, 0x00, 0x00};  // version, length (later), English, time
  for (const std::string* f : {&b.manufacturer, &b.product, &b.serial, &b.part, &b.file_id}) {
    area.push_back(static_cast<uint8_t>(0xC0 | f->size()));
    area.insert(area.end(), f->begin(), f->end());
  }
  area.push_back(0xC1);
  while ((area.size() + 1) % 8 != 0) area.push_back(0);
  area.push_back(0);
  area[1] = static_cast<uint8_t>(area.size() / 8);
  area.back() = zero_sum_byte(area, 0, area.size() - 1);

  Bytes image{0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00};  // board area at 8
  image[7] = zero_sum_byte(image, 0, 7);
  for (uint8_t x : area) image.push_back(x);  // (insert trips a false GCC 12 bounds warning)
  image.resize(256, 0xFF);  // the rest of a small EEPROM, erased
  return image;
}

std::string fru_string(const FruBoard& b) {
  Bytes i = fru_image(b);
  return {i.begin(), i.end()};
}

Bytes cmos_block(char signature, const Bytes& units, int fix) {
  Bytes b{static_cast<uint8_t>(signature), static_cast<uint8_t>(units.size())};
  b.insert(b.end(), units.begin(), units.end());
  b.push_back(static_cast<uint8_t>(zero_sum_byte(b, 0, b.size()) + fix));
  return b;
}

}  // namespace bayhal::test
