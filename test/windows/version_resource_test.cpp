#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

// The module's version resource is what installers and the file dialog show.
TEST(VersionResource, CarriesTheVersionAndTheNames)
{
    const char* module = "MC120Ctms100x64.dll";
    DWORD ignored = 0;
    std::vector<char> block(GetFileVersionInfoSizeA(module, &ignored));
    ASSERT_FALSE(block.empty());
    ASSERT_TRUE(GetFileVersionInfoA(module, 0, static_cast<DWORD>(block.size()), block.data()));

    void* found = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueA(block.data(), "\\", &found, &size));
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
    EXPECT_EQ(fixed->dwFileVersionMS, 12U << 16 | 0U);
    EXPECT_EQ(fixed->dwFileVersionLS, 2U << 16 | 248U);
    EXPECT_EQ(fixed->dwFileType, DWORD{VFT_DLL});

    const struct {
        const char* key;
        const char* text;
    } rows[] = {
        {"FileVersion", "12.0.2.248.0"},
        {"FileDescription", "Marblecrest Typemanager DLL"},
        {"OriginalFilename", "MC120Ctms100x64.dll"},
    };
    for (const auto& row : rows) {
        const std::string path = std::string("\\StringFileInfo\\040904B0\\") + row.key;
        ASSERT_TRUE(VerQueryValueA(block.data(), path.c_str(), &found, &size)) << row.key;
        EXPECT_STREQ(static_cast<const char*>(found), row.text) << row.key;
    }
}
