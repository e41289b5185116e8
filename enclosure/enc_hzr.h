// The links between HZR host cards and the MVS JBODs on their external ports, kept as
// "ext_port_<n>" = "<enc id>:<port>" in the "Index" of both enclosures' disk stores.
#pragma once

namespace bayhal {

// For every PCIe slot holding a registered HZR card: scans its external ports, writes both
// ends of each link and pushes the appliance's server name to the JBOD behind it.
void hzr_link_all_ext_ports();
// Unlinks a detached JBOD from every HZR card ("-1:-1").
void hzr_unlink_enclosure(int enc_id);

}  // namespace bayhal
