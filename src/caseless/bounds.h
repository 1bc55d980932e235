#ifndef KO_CASELESS_BOUNDS_H
#define KO_CASELESS_BOUNDS_H

#include "caseless/text.h"

#include <kotypevl.h>

namespace ko
{

/// The evaluator of the case-insensitive types; `weights` are those of the class.
float EvaluateCaselessTexts(const KoIdxBounds* bounds, unsigned short op, const void* value,
                            unsigned char format, unsigned count, KoIdxBounds* newBounds,
                            const CaselessWeights& weights);

} // namespace ko

#endif
