// Hardware-RAID adapter arrays in /etc/config/sr_raid.conf.
#pragma once
#include "bayhal/PD.h"

namespace bayhal {

int sr_raid_conf_attach(int enc_id, const PD_INFO& info);
int sr_raid_conf_detach(int enc_id, int port_id);

}  // namespace bayhal
