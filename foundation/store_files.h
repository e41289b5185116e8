// The stores every registry shares, by the names the appliance gives them.
#pragma once

namespace bayhal {

inline constexpr const char* kHalConf = "/etc/hal.conf";      // enclosure registry, boot disks
inline constexpr const char* kModelConf = "/etc/model.conf";  // this appliance's description
inline constexpr const char* kIndex = "Index";                // each store's index section

}  // namespace bayhal
