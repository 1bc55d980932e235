#include "kocharnames.h"

namespace
{

constexpr const char* kNames[] = {
#include "tables/charnames.inc"
};
static_assert(sizeof kNames / sizeof kNames[0] == 256);

} // namespace

const char* KoCharName(unsigned char c)
{
    return kNames[c];
}
