#include <gtest/gtest.h>
#include <ko.hpp>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

/// Memory of the program that runs out inside the calls of ko.hpp: every call gives its result or
/// says so, whichever allocation fails. laws/memory_test has the memory of the library.

namespace
{

/// The program's own heap, of which the allocation with this number fails; negative: none does.
int newLeft = -1;
bool newFailed = false;

} // namespace

// Not inline: GCC takes a pair for mismatched of which it sees only one side.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    if (newLeft == 0)
        newFailed = true;
    void* const memory = newLeft-- == 0 ? nullptr : std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace
{

using Bytes = std::vector<unsigned char>;

struct Subject {
    int type;
    std::string text;
    Bytes stored, key;
};

std::vector<Subject> Subjects()
{
    struct Row {
        const char* type;
        std::string text;
    };
    const Row rows[] = {
        {"KoString", "abc"},
        {"KoString", std::string(1500, 'a')},
        {"KoString", "\xE6\x97\xA5\xE6\x9C\xAC" + std::string(200, 'b')},
        {"KoIString", std::string(300, 'c')},
        {"KoBlob", std::string(600, '4')},
        {"KoDate", "2024-02-29"},
        {"KoDateTimeN", "2024-02-29T12:30:15.250000000"},
        {"o_double", "12.5"},
        {"o_double", std::string(300, '0') + "1"},
        {"KoNull_int", "{NULL}"},
        {"KoObjId", "(1-2#3)"},
    };
    std::vector<Subject> subjects;
    for (const Row& row : rows) {
        Subject subject{ko_type(row.type), row.text, Bytes(4096), Bytes(4096)};
        std::size_t size = subject.stored.size();
        EXPECT_EQ(ko_pack(subject.type, row.text.data(), row.text.size(), nullptr, KO_BIG,
                          subject.stored.data(), &size, nullptr),
                  KO_OK)
            << row.type << ' ' << row.text;
        subject.stored.resize(size);
        size = subject.key.size();
        EXPECT_EQ(ko_key(subject.type, subject.stored.data(), subject.stored.size(), KO_PLAIN,
                         KO_BIG, subject.key.data(), &size),
                  KO_OK);
        subject.key.resize(size);
        subjects.push_back(subject);
    }
    return subjects;
}

TEST(Memory, OfTheProgramRunsOutAsAnError)
{
    for (const Subject& subject : Subjects()) {
        const ko::Type type = ko::Type::Of(subject.type).value();
        const auto bytes = std::as_bytes(std::span(subject.stored));
        const auto right = ko::Value::Load(type, bytes);
        ASSERT_TRUE(right) << subject.text;
        newFailed = true;
        for (int first = 0; newFailed; ++first) {
            newFailed = false;
            newLeft = first;
            const auto value = ko::Value::Load(type, bytes);
            const auto text = right->Text();
            const auto stored = right->Store();
            const auto key = right->SortKey();
            newLeft = -1;
            EXPECT_TRUE(value ? *value == *right : value.error().status == ko::Status::no_memory);
            EXPECT_TRUE(text || text.error().status == ko::Status::no_memory);
            EXPECT_TRUE(stored || stored.error().status == ko::Status::no_memory);
            EXPECT_TRUE(key || key.error().status == ko::Status::no_memory);
            EXPECT_EQ(value && text && stored && key, !newFailed);
        }
    }
}

} // namespace
