#include "enc_sys/expansion_units.h"

#include <cstdlib>

#include "ini/ini_store.h"

namespace bayhal {

std::optional<UnitModel> find_unit_model(const std::string& bus, unsigned vendor_id,
                                         unsigned product_id) {
  for (const std::string& name : ini::list_sections(kExpansionUnitsConf)) {
    auto s = ini::read_section(kExpansionUnitsConf, name);
    if (!s) continue;
    const std::string_view* b = s->find("BUS");
    auto vid = s->get_int("VENDOR_ID", true);
    auto pid = s->get_int("PRODUCT_ID", true);
    if (b == nullptr || *b != bus || !vid || !pid) continue;
    if (static_cast<unsigned>(*vid) != vendor_id || static_cast<unsigned>(*pid) != product_id)
      continue;
    UnitModel m;
    m.bus = bus;
    m.vendor_id = vendor_id;
    m.product_id = product_id;
    if (const std::string_view* v = s->find("VENDOR")) m.vendor = *v;
    if (const std::string_view* v = s->find("MODEL")) m.model = *v;
    m.max_disk_num = static_cast<int>(s->get_int("MAX_DISK_NUM").value_or(0));
    m.capabilities = static_cast<uint32_t>(s->get_int("CAP", true).value_or(0));
    return m;
  }
  return std::nullopt;
}

}  // namespace bayhal
