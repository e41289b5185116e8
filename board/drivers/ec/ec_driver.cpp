// Embedded controller: not built yet; every operation answers the dispatch's "not implement".
#include "board/drivers/families.h"

namespace bayhal::board {

const Driver kEcDriver{.name = "EC"};

}  // namespace bayhal::board
