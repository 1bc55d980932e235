#include "support/failing_heap.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace
{

/// Leaves the process with no default manager, before and after a test.
class Context : public testing::Test
{
protected:
    void SetUp() override { ___KoTypemgrContext(0); }
    void TearDown() override { ___KoTypemgrContext(0); }
};

TEST(Dll, DescribesItself)
{
    o_u4b v[6] = {};
    const char* text[5] = {};
    const char* description = KoDescribeDll(&v[0], &v[1], &v[2], &v[3], &v[4], &text[0], &text[1],
                                            &text[2], &v[5], &text[3], &text[4]);
    EXPECT_STREQ(description, "Marblecrest Typemanager");
    EXPECT_EQ(std::vector(v, v + 6), std::vector<o_u4b>({12, 0, 2, 248, 0, 1600}));
    EXPECT_EQ(std::vector<std::string>({text[0], text[1], text[2], text[4]}),
              std::vector<std::string>({"MC120Ctms100x64", "Apr 15 2021 18:57:37", "unknown", ""}));

    const char *compiler, *longDescription, *date, *module;
    o_u4b number = 0;
    GetKoTypeMgrInfo(nullptr, nullptr, nullptr, nullptr, nullptr);
    GetKoTypeMgrInfo(&compiler, &number, &longDescription, &date, &module);
    EXPECT_STREQ(compiler, text[3]);
    EXPECT_GT(std::strlen(compiler), 5U);
    EXPECT_EQ(number, 1600U);
    EXPECT_STREQ(longDescription, "Marblecrest Typemanager 12.0.2.248.0 ");
    EXPECT_STREQ(date, "Apr 15 2021");
    EXPECT_STREQ(module, "MC120Ctms100x64");
}

// A loader knows the library's file and the names of its entry points, and nothing else.
TEST(Dll, EntryPointsAreFoundByName)
{
    using Info = void (*)(const char**, o_u4b*, const char**, const char**, const char**);
#ifdef _WIN32
    const HMODULE module = LoadLibraryA("MC120Ctms100x64.dll");
    const auto find = [module](const char* name) {
        return reinterpret_cast<void*>(GetProcAddress(module, name));
    };
#else
    void* const module = dlopen("libkotms.so.12", RTLD_NOW);
    const auto find = [module](const char* name) { return dlsym(module, name); };
#endif
    ASSERT_NE(module, nullptr);
    for (const char* name : {"KoCheckDll", "KoDescribeDll", "GetKoTypeMgrInfo",
                             "___KoTypeMgrOptions", "___KoTypemgrContext"})
        EXPECT_NE(find(name), nullptr) << name;
    void* const address = find("GetKoTypeMgrInfo");
    ASSERT_NE(address, nullptr);
    const char* description = nullptr;
    reinterpret_cast<Info>(address)(nullptr, nullptr, &description, nullptr, nullptr);
    EXPECT_STREQ(description, "Marblecrest Typemanager 12.0.2.248.0 ");
}

TEST(Dll, ChecksItsVersion)
{
    for (const int flags : {0, 15})
        EXPECT_EQ(KoCheckDll(flags), 0) << "both libraries have one version, flags " << flags;
}

TEST_F(Context, OwnsTheDefaultManager)
{
    EXPECT_EQ(DefaultTypeMgr(), nullptr);
    ___KoTypemgrContext(0); // without a context
    EXPECT_EQ(DefaultTypeMgr(), nullptr);

    ___KoTypemgrContext(1);
    KoTypeMgr* first = DefaultTypeMgr();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->GetFactory(), 5);

    // The application's manager is deleted by the library, the one it replaces by nobody.
    auto* own = new KoTypeMgr(0);
    EXPECT_EQ(DefaultTypeMgr(own), first);
    EXPECT_EQ(DefaultTypeMgr(), own);
    EXPECT_EQ(DefaultTypeMgr(nullptr), own);
    ___KoTypemgrContext(0);
    EXPECT_EQ(DefaultTypeMgr(), nullptr);
    delete first;
}

TEST_F(Context, PassesOnToLanguages)
{
    ___KoTypemgrContext(1);
    ASSERT_EQ(KoLanguageContext::SetDefaultCodeSet(2), 0);
    ___KoTypemgrContext(0);
    EXPECT_EQ(KoLanguageContext::GetDefaultCodeSet(), 1);
}

TEST_F(Context, WithoutMemoryThereIsNoDefaultManager)
{
    const FailingHeap heap(0);
    ___KoTypemgrContext(1);
    EXPECT_TRUE(heap.HasFailed());
    EXPECT_EQ(DefaultTypeMgr(), nullptr);
    EXPECT_EQ(heap.HandlerCalls(), 0);
}

} // namespace
