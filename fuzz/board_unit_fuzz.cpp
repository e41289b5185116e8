// The model description's chip values as the board back-end reads them: the accepted-value
// compare, the channel behind ':' or 'I', and the addresses behind "I2C" and "IOPORT".
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "board/dispatch/selector.h"
#include "board/drivers/i2c/pmbus.h"

using namespace bayhal::board;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view value(reinterpret_cast<const char*>(data), size);
  constexpr Choice kAll[] = {kChoiceThermalZone, kChoiceSio, kChoiceDts,  kChoiceEc,
                             kChoiceIoPort,      kChoiceI2c, kChoiceGpio, kChoiceCpld};
  const Choice* c = select_choice(value, kAll, Case::kIgnored);
  if (c != nullptr) (void)address_behind(value, *c, 0, 0xFFFF);
  (void)number_after(value, ':');
  (void)number_after(value, 'I');
  if (size >= 2) (void)pmbus::from_linear11(static_cast<uint16_t>(data[0] | data[1] << 8));
  return 0;
}
