// Backplane FRU EEPROM images and PCI configuration space: the board-identity parsers.
#include <cstddef>
#include <cstdint>

#include "model/fru.h"
#include "model/pci_identity.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  (void)bayhal::fru::parse_board({data, size});
  (void)bayhal::parse_pci_config({data, size});
  return 0;
}
