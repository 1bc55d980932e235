#ifndef KOCONFIG_H
#define KOCONFIG_H

#include "koscalar.h"

#if !defined(KO_NO_GLOBAL_NAMES)
/// Settings of the process: category and key, both compared exactly, to text. There
/// are none at the start. Not synchronised.
class KOBASE_API DefaultConfig
{
public:
    /// The setting, or null where there is none; owned by the configuration and valid
    /// until the setting changes.
    static const char* Get(const char* category, const char* key);
    /// True for "1", "yes", "true" and "on" in any mix of ASCII case; false for all
    /// else and no setting.
    static bool GetBool(const char* category, const char* key);
    /// Sets a copy of `value`, which may be a text that Get gave; null removes the
    /// setting. Returns 0; or -1, with all settings as they were, for a null category
    /// or key and when memory runs out (after telling the memory handler).
    static int Set(const char* category, const char* key, const char* value);
};
#endif

#endif
