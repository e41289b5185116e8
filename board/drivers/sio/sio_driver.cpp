// Super I/O: not built yet; every operation answers the dispatch's "not implement".
#include "board/drivers/families.h"

namespace bayhal::board {

const Driver kSioDriver{.name = "SIO"};

}  // namespace bayhal::board
