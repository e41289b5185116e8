// Families whose layer is still to come: the microcontroller protocols (PIC commands, the
// legacy and enhanced MCU protocols), the SES back-end of SAS expander units and the board's
// own beeper. Until each lands, its table is empty and the dispatch answers the documented
// failure.
#include "board/drivers/families.h"

namespace bayhal::board {

const Driver kPicDriver{.name = "PIC"};
const Driver kMcuDriver{.name = "MCU"};
const Driver kEmcuDriver{.name = "EMCU"};
const Driver kSesDriver{.name = "SES"};
const Driver kBeeperDriver{.name = "BEEPER"};

}  // namespace bayhal::board
