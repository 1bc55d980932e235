#ifndef KOISTRINGEVAL_H
#define KOISTRINGEVAL_H

#include "koistringtext.h"

#include <kotypevl.h>

/// The evaluator of the case-insensitive types; `weights` are those of the class.
float KoEvaluateITexts(const KoIdxBounds* bounds, unsigned short op, const void* value,
                       unsigned char format, unsigned count, KoIdxBounds* newBounds,
                       const KoIWeights& weights);

#endif
