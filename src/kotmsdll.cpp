#include <kotmsdll.h>

#include <kointl.h>
#include <kotypemgr.h>

#include <cstring>

namespace
{

/// Major, minor, patch, build and the fifth component, from the build configuration.
constexpr o_u4b kVersion[] = {KO_VERSION_NUMBERS};
constexpr o_u4b kCompilerVersion = 1600;

constexpr char kDescription[] = "Marblecrest Typemanager";
constexpr char kLongDescription[] = "Marblecrest Typemanager " KO_VERSION_TEXT " ";
constexpr char kModuleName[] = "MC120Ctms100x64";
constexpr char kBuildDate[] = "Apr 15 2021";
constexpr char kBuildDateTime[] = "Apr 15 2021 18:57:37";

// clang-format off
constexpr char kCompiler[] =
#if defined(__clang__)
    "Clang " __clang_version__
#elif defined(__GNUC__)
    "GCC " __VERSION__
#else
    "C++"
#endif
#if defined(__MINGW64__)
    " MinGW-w64"
#endif
#if defined(_WIN32)
    " Windows"
#elif defined(__linux__)
    " Linux"
#endif
#if defined(__x86_64__) || defined(_M_X64)
    " x86-64"
#elif defined(__aarch64__) || defined(_M_ARM64)
    " aarch64"
#elif defined(__s390x__)
    " s390x"
#endif
    ;
// clang-format on

o_4b options = 0;
char information[sizeof kLongDescription];
KoTypeMgr* defaultManager = nullptr;

template <class T>
void Answer(T* output, T value)
{
    if (output != nullptr)
        *output = value;
}

} // namespace

KoTypeMgr* DefaultTypeMgr(KoTypeMgr* mgr)
{
    KoTypeMgr* old = defaultManager;
    if (mgr != nullptr)
        defaultManager = mgr;
    return old;
}

int KoCheckDll(int flags)
{
    return CheckKoVersionNumber(kVersion[0], kVersion[1], kVersion[2], kVersion[3], kVersion[4],
                                flags | 3);
}

const char* KoDescribeDll(o_u4b* major, o_u4b* minor, o_u4b* patch, o_u4b* build, o_u4b* fifth,
                          const char** moduleName, const char** buildDateTime, const char** unknown,
                          o_u4b* compilerVersion, const char** compiler, const char** empty)
{
    *major = kVersion[0];
    *minor = kVersion[1];
    *patch = kVersion[2];
    *build = kVersion[3];
    *fifth = kVersion[4];
    *moduleName = kModuleName;
    *buildDateTime = kBuildDateTime;
    *unknown = "unknown";
    *compilerVersion = kCompilerVersion;
    *compiler = kCompiler;
    *empty = "";
    return kDescription;
}

void GetKoTypeMgrInfo(const char** compiler, o_u4b* compilerVersion, const char** description,
                      const char** buildDate, const char** moduleName)
{
    Answer<const char*>(compiler, kCompiler);
    Answer(compilerVersion, kCompilerVersion);
    if (description != nullptr) {
        // A caller may have written into the buffer.
        std::memcpy(information, kLongDescription, sizeof information);
        *description = information;
    }
    Answer<const char*>(buildDate, kBuildDate);
    Answer<const char*>(moduleName, kModuleName);
}

o_4b& ___KoTypeMgrOptions()
{
    return options;
}

void ___KoTypemgrContext(int create)
{
    ___KoI18NContext(create);
    if (create != 0) {
        defaultManager = new KoTypeMgr(5);
    } else {
        delete defaultManager;
        defaultManager = nullptr;
    }
}
