#ifndef KOSERVICES_H
#define KOSERVICES_H

/// The services of the process: everything of this library that does not touch the
/// bytes of values. Each header also stands alone.

#include "koassert.h"
#include "koclock.h"
#include "koconfig.h"
#include "komemory.h"
#include "koversion.h"

#endif
