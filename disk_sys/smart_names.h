// The SMART attribute name table: one name per attribute number, with a second variant
// (kind 2) for one SSD family behind the RAID enclosures; kinds 0 and 1 use the first.
#pragma once

namespace bayhal {

// The name of attribute `id` in `kind`; "Unknown_Attribute" outside 1-254 and for numbers
// the table does not hold.
const char* smart_attr_name(unsigned id, int kind);
// The same name padded with NULs to the 64 bytes of an attribute entry's field, for a
// fixed-size copy.
const char* smart_attr_name64(unsigned id, int kind);

}  // namespace bayhal
