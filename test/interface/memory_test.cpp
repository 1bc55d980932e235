#include "support/failing_heap.h"

#include <gtest/gtest.h>
#include <ko.hpp>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

/// Memory that runs out inside the calls of ko.h and ko.hpp, in a process without a memory handler:
/// every call gives its result or says so, whichever allocation fails, alone or with all after it.

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

/// What a call gave. Made before memory is made to fail, so that nothing of it allocates then.
struct Answer {
    ko_status status = KO_OK;
    unsigned char bytes[4096] = {};
    std::size_t size = sizeof bytes;
    std::uint64_t number = 0;
    int flag = 7;

    bool operator==(const Answer& other) const
    {
        return status == other.status && size == other.size && number == other.number &&
               flag == other.flag &&
               std::equal(bytes, bytes + std::min(size, sizeof bytes), other.bytes);
    }
};

struct Subject {
    int type;
    std::string text;
    Bytes stored, key;
};

const ko_settings* ownSettings = nullptr;
int handlerCalls = 0;

struct Call {
    const char* name;
    bool hasSettings;
    ko_status (*run)(const Subject& of, Answer& to);
};

char* Chars(Answer& to)
{
    return reinterpret_cast<char*>(to.bytes);
}

constexpr Call kCalls[] = {
    {"pack", true,
     [](const Subject& of, Answer& to) {
         return ko_pack_with(ownSettings, of.type, of.text.data(), of.text.size(), nullptr, KO_BIG,
                             to.bytes, &to.size, nullptr);
     }},
    {"pack_null", false,
     [](const Subject& of, Answer& to) {
         return ko_pack_null(of.type, KO_BIG, to.bytes, &to.size);
     }},
    {"text", true,
     [](const Subject& of, Answer& to) {
         return ko_text_with(ownSettings, of.type, of.stored.data(), of.stored.size(), KO_BIG,
                             nullptr, Chars(to), &to.size);
     }},
    {"convert", false,
     [](const Subject& of, Answer& to) {
         return ko_convert(of.type, of.stored.data(), of.stored.size(), KO_BIG, KO_LITTLE, to.bytes,
                           &to.size);
     }},
    {"is_null", false,
     [](const Subject& of, Answer& to) {
         return ko_is_null(of.type, of.stored.data(), of.stored.size(), KO_BIG, &to.flag);
     }},
    {"compare", false,
     [](const Subject& of, Answer& to) {
         return ko_compare(of.type, of.stored.data(), of.stored.size(), of.stored.data(),
                           of.stored.size(), KO_PLAIN, KO_BIG, &to.flag);
     }},
    {"key", false,
     [](const Subject& of, Answer& to) {
         return ko_key(of.type, of.stored.data(), of.stored.size(), KO_PLAIN, KO_BIG, to.bytes,
                       &to.size);
     }},
    {"from_key", true,
     [](const Subject& of, Answer& to) {
         return ko_from_key_with(ownSettings, of.type, of.key.data(), of.key.size(), KO_PLAIN,
                                 KO_BIG, to.bytes, &to.size);
     }},
    {"hash", false,
     [](const Subject& of, Answer& to) {
         return ko_hash(of.type, of.stored.data(), of.stored.size(), KO_PLAIN, KO_BIG, &to.number);
     }},
    {"collate", true,
     [](const Subject& of, Answer& to) {
         return ko_collate_with(ownSettings, of.text.data(), of.text.size(), of.text.data(),
                                of.text.size(), KO_PLAIN, &to.flag);
     }},
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

TEST(Memory, RunsOutInNoCallUnsaid)
{
    const std::string nullText(400, 'n');
    ko_settings settings = KO_SETTINGS;
    settings.null_text = nullText.c_str();
    settings.out_of_memory = [](void* context, std::size_t) { ++*static_cast<int*>(context); };
    settings.context = &handlerCalls;
    int refusals = 0;
    for (const Subject& subject : Subjects()) {
        for (const Call& call : kCalls) {
            for (const ko_settings* chosen : {static_cast<const ko_settings*>(nullptr),
                                              static_cast<const ko_settings*>(&settings)}) {
                ownSettings = chosen;
                Answer right;
                right.status = call.run(subject, right);
                for (const int failing : {1, std::numeric_limits<int>::max()}) {
                    bool failed = true;
                    for (int first = 0; failed; ++first) {
                        Answer answer;
                        handlerCalls = 0;
                        {
                            const FailingHeap heap(first, failing);
                            KoSetMemoryHandler(nullptr); // the one that ends the process
                            answer.status = call.run(subject, answer);
                            failed = heap.HasFailed();
                        }
                        const bool refused = answer.status == KO_NO_MEMORY;
                        refusals += refused ? 1 : 0;
                        EXPECT_TRUE(refused ? failed : answer == right)
                            << call.name << " of " << ko_type_name(subject.type) << ", allocation "
                            << first << ": " << ko_status_text(answer.status);
                        const bool toldSettings = chosen != nullptr && call.hasSettings;
                        EXPECT_EQ(handlerCalls != 0, toldSettings && refused) << call.name;
                        ASSERT_LT(first, 1000);
                    }
                }
            }
        }
    }
    EXPECT_GT(refusals, 200); // nearly every call of a long text needs some
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
