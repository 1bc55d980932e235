#ifndef KOTMSDLL_H
#define KOTMSDLL_H

#include "kobasic.h"

/// The entry points by which a loader checks, lists and sets up the library. They have C linkage,
/// so that a loader finds them by name. All texts belong to the library.

extern "C" {

/// Compares the library's version with that of the base services, its major and minor number
/// always, the others as `flags` asks. Returns the result of CheckKoVersionNumber.
KOTMS_API int KoCheckDll(int flags);

/// Describes the library; no pointer may be null. `unknown` receives the text "unknown" and
/// `empty` an empty text. Returns the library's description.
KOTMS_API const char* KoDescribeDll(o_u4b* major, o_u4b* minor, o_u4b* patch, o_u4b* build,
                                    o_u4b* fifth, const char** moduleName,
                                    const char** buildDateTime, const char** unknown,
                                    o_u4b* compilerVersion, const char** compiler,
                                    const char** empty);

/// Describes the library; each null pointer leaves its answer out. The description contains the
/// version and ends with a blank; it stands in one buffer, which every call that asks for it
/// writes anew.
KOTMS_API void GetKoTypeMgrInfo(const char** compiler, o_u4b* compilerVersion,
                                const char** description, const char** buildDate,
                                const char** moduleName);

// A function with a C name may take a reference: callers are C++, and it is passed as a pointer.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
/// The options of the process, at first 0. Bit 0: KoString reads integers as decimal only.
KOTMS_API o_4b& ___KoTypeMgrOptions();
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

/// For loaders of the older kind, which set a library up and tear it down by name. No other caller
/// needs it: everything works from the first call on, with the defaults of KoLanguageContext and
/// with any KoTypeMgr that a program makes itself, which costs nothing. Before this call there is
/// no default type manager, and DefaultTypeMgr gives null; that one is for code which has none at
/// hand, and the library itself does not use it.
///
/// `create` non-zero: sets up the internationalisation context, then a default type manager with
/// factory 5 (none when memory runs out, and no message). A manager that was registered before is
/// replaced, not deleted. `create` 0: tears down the internationalisation context and deletes the
/// default type manager, whoever registered it; without one nothing happens.
KOTMS_API void ___KoTypemgrContext(int create);
}

#endif
