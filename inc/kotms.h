#ifndef KOTMS_H
#define KOTMS_H

/// Everything that the library exports.

#include "kobasic.h"
#include "koint64.h"
#include "kostring.h"
#include "kotmsdll.h"
#include "kotypeid.h"
#include "kotypemgr.h"
#include "kotypes.h"

#include <kobase.h>
#include <kointl.h>

#endif
