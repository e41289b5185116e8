// The appliance registered as enclosure 0 with its board's chip on an in-process port bus.
#pragma once
#include <string>

#include "sim/ec_model.h"
#include "sim/superio_model.h"
#include "tests/board/chip_fixture.h"

namespace bayhal::test {

class GpioTest : public ChipTest {
 protected:
  GpioTest() { root.write("/etc/hal.conf", "[Enclosure_0]\nenc_id = 0\nenc_sys_id = root\n"); }
};

}  // namespace bayhal::test
