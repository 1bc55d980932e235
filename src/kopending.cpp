#include "kodescr.h"

// Types whose operations are not written yet: they have their names, lengths and formats, and
// operations that do nothing. A type leaves this list when its own file defines its record. The
// rows stand apart so that removals on different branches merge.

KO_DEFINE_TYPE(koIStringDescriptor, NoOps, KoISTRING_T)

KO_DEFINE_TYPE(koCaseIStringDescriptor, NoOps, KoCASEISTRING_T)

