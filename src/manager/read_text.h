#ifndef KO_MANAGER_READ_TEXT_H
#define KO_MANAGER_READ_TEXT_H

#include "manager/slot.h"

#include <kostring.h>

namespace ko
{

/// Reads a whole text with the strict reader of a type, which must have one. The result is that of
/// the reader, but KoREAD_TRAILING where what stands before `errorAt` is a value by itself.
int ReadWhole(const KoTypeMgr& manager, const KoTypeExtension& type, o_char id, void* value,
              const KoString& text, const char* format, unsigned& errorAt);

} // namespace ko

#endif
