// The SMART attribute name table: one name per attribute number, with a second variant
// (kind 2) for one SSD family behind the RAID enclosures; kinds 0 and 1 use the first.
#pragma once

namespace bayhal {

// The name of attribute `id` in `kind`; "Unknown_Attribute" outside 1-254 and for numbers
// the table does not hold.
const char* smart_attr_name(unsigned id, int kind);
// Every name of `kind` by attribute number (0-255), each padded with NULs to the 64 bytes
// of an attribute entry's field, for fixed-size copies; looked up once per page.
using SmartName64 = char[64];
const SmartName64* smart_attr_names64(int kind);

}  // namespace bayhal
