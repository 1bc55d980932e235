#ifndef KOBASE_H
#define KOBASE_H

/// Everything of the base-services library.

#include "koencode.h"
#include "komemfile.h"
#include "koscalar.h"
#include "koservices.h"
#include "koswap.h"

#endif
