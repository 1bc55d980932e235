#include "kodescr.h"

// Types whose operations are not written yet: they have their names, lengths and formats, and
// operations that do nothing. A type leaves this list when its own file defines its record.

KO_DEFINE_TYPE(koReservedDescriptor, NoOps, KoRES_T)
