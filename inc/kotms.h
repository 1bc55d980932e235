#ifndef KOTMS_H
#define KOTMS_H

/// Everything that the library exports.

#include "_konulty.h"
#include "ko.h"
#include "kobasic.h"
#include "kobeside.h"
#include "koblob.h"
#include "koboolean.h"
#include "kochar.h"
#include "kodate.h"
#include "kodatetime.h"
#include "koint64.h"
#include "koistring.h"
#include "kombs.h"
#include "koobjid.h"
#include "koodmg.h"
#include "koodmgdate.h"
#include "koodmginterval.h"
#include "koodmgtime.h"
#include "koorder.h"
#include "koseal.h"
#include "kosortkey.h"
#include "kostrcmp.h"
#include "kostring.h"
#include "kotemporal.h"
#include "kotime.h"
#include "kotimespan.h"
#include "kotmsdll.h"
#include "kotypcmp.h"
#include "kotypconv.h"
#include "kotypeid.h"
#include "kotypemgr.h"
#include "kotypes.h"
#include "kotypevl.h"
#include "kotyphash.h"

#include <kobase.h>
#include <kointl.h>

#endif
