#include "support/failing_heap.h"
#include "support/keys.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <ko.h>

#include <functional>

// Memory that runs out in the calls of the type manager and of ko.h: for the values of every type
// each allocation of each call fails once, alone and with all after it. The call gives its result
// or what its header says of a failure, the memory handler is told of it, and nothing is left
// behind.

namespace
{

const KoTypeMgr manager;
const ko_settings* ownSettings = nullptr;
int settingsCalls = 0;

struct Subject {
    o_char id;
    Array values, target; ///< two elements, and one that calls write to
    Bytes stored, little, key;
    std::string utf8;
    KoString printed; ///< the same in characters
    KoString old;     ///< both values, as they are joined
    std::unique_ptr<KoTypeConvertData> texts;
};

/// What a call gave. Made before memory is made to fail.
struct Answer {
    long long code = 0;
    Bytes bytes = Bytes(4096);
    std::size_t size = 0;
    int flag = 7;
    std::uint64_t number = 0;
    KoString text{KoCS_UNICODE, 0};
    void* made = nullptr; ///< an array, which goes into `bytes`
    KoTypeConvertData* record = nullptr;
    KoString* joined = nullptr;
    KoIdxBounds ends{};
};

/// What a call leaves when memory runs out.
enum class After {
    kSame,      ///< its result: it allocates nothing
    kNull,      ///< no array
    kUnchanged, ///< the code of the row, and what it writes to is as it was
    kOpenEnds,  ///< an end that is open
    kNoMemory,  ///< KO_NO_MEMORY, though the handler of the process would end it
    kTold,      ///< the same, and the handler of the settings is told
};

struct Call {
    const char* name;
    After after;
    long long code;
    void (*run)(Subject& of, Answer& to);
};

void* First(Subject& of)
{
    return of.values.data;
}

constexpr long long kAny = 99;

std::size_t* RoomOf(Answer& to)
{
    to.size = to.bytes.size();
    return &to.size;
}

const Call kCalls[] = {
    {"Create", After::kNull, 0,
     [](Subject& of, Answer& to) { to.made = manager.Create(of.id, 2); }},
    {"DefaultValue", After::kNull, 0,
     [](Subject& of, Answer& to) { to.made = manager.DefaultValue(of.id, 2, 0); }},
    {"ConvertTo", After::kNull, 0,
     [](Subject& of, Answer& to) { to.record = manager.ConvertTo(of.id, First(of), 2); }},
    {"ConvertToKoStringOld", After::kNull, 0,
     [](Subject& of, Answer& to) {
         to.joined = manager.ConvertToKoStringOld(First(of), of.id, 2);
     }},
    {"ConvertFrom", After::kNull, 0,
     [](Subject& of, Answer& to) { to.made = manager.ConvertFrom(of.id, of.texts.get(), 2); }},
    {"ConvertFromKoStringOld", After::kNull, 0,
     [](Subject& of, Answer& to) {
         to.text = of.old; // where there is no memory for this, there is no call
         if (to.text.Len() == of.old.Len())
             to.made = manager.ConvertFromKoStringOld(&to.text, of.id, 2);
         // What is used up without a result would be lost.
         if (to.made == nullptr && to.text.Len() == of.old.Len())
             to.text = KoString(KoCS_UNICODE, 0);
     }},
    {"PrintToKoString", After::kUnchanged, kAny,
     [](Subject& of, Answer& to) {
         manager.PrintToKoString(of.id, to.text, First(of), nullptr, 1);
     }},
    {"ScanFromKoString", After::kUnchanged, kAny,
     [](Subject& of, Answer&) {
         manager.ScanFromKoString(of.id, of.target.data, of.printed, nullptr, 1);
     }},
    {"ParseFromKoString", After::kUnchanged, -1,
     [](Subject& of, Answer& to) {
         unsigned errorAt = 0;
         to.code = manager.ParseFromKoString(of.id, of.target.data, of.printed,
                                             manager.TextFormatGet(of.id), errorAt);
     }},
    {"assign", After::kUnchanged, 0,
     [](Subject& of, Answer&) {
         manager.AssignmentPtrGet(of.id)(of.target.data, First(of), 1, 0);
     }},
    {"Load", After::kUnchanged, kAny,
     [](Subject& of, Answer& to) {
         to.code = manager.Load(of.id, of.target.data, of.stored.data(), KoFMT_BIG, 1);
     }},
    {"Translate", After::kUnchanged, kAny,
     [](Subject& of, Answer& to) {
         to.code = manager.Translate(of.id, of.target.data, KoFMT_MEMORY, 0, of.stored.data(),
                                     KoFMT_BIG, static_cast<unsigned>(of.stored.size()), 1);
     }},
    {"SetNullValue", After::kUnchanged, kAny,
     [](Subject& of, Answer& to) { to.code = manager.SetNullValue(of.id, of.target.data); }},
    {"ReadText", After::kUnchanged, KoRC_NO_MEMORY,
     [](Subject& of, Answer& to) {
         std::size_t at = 0;
         to.code =
             manager.ReadText(of.id, of.target.data, of.utf8.data(), of.utf8.size(), nullptr, at);
     }},
    {"FromSortKey", After::kUnchanged, KoRC_NO_MEMORY,
     [](Subject& of, Answer& to) {
         to.code = manager.FromSortKey(of.id, of.target.data, of.key.data(),
                                       static_cast<unsigned>(of.key.size()), 1, KoCMP_PLAIN);
     }},
    {"GetValue", After::kUnchanged, KoRC_NOT_SUPPORTED,
     [](Subject& of, Answer& to) {
         to.bytes = of.little;
         to.code = manager.GetValue(of.id, to.bytes.data(), 0, KoFMT_LITTLE, 'O');
     }},
    {"EvalAndBound", After::kOpenEnds, 0,
     [](Subject& of, Answer& to) {
         unsigned short op = unsigned{KoQOP_EQUAL} | unsigned{KoCMP_PLAIN};
         KoIdxBounds keys{of.stored.data(), of.stored.data(), 0, 0};
         to.code =
             static_cast<long long>(1e6F * manager.EvalAndBound(of.id, &keys, op, of.stored.data(),
                                                                KoFMT_BIG, 1, &to.ends, nullptr));
     }},
    {"HashUnder", After::kUnchanged, 0,
     [](Subject& of, Answer& to) {
         to.code = static_cast<long long>(
             manager.HashUnder(of.id, First(of), KoFMT_MEMORY, 1, KoCMP_PLAIN));
     }},
    {"what only looks", After::kSame, 0,
     [](Subject& of, Answer& to) {
         int status = 0;
         std::size_t at = 0;
         to.code = manager.Cmp(of.id, First(of), of.target.data, KoCMP_PLAIN, 1, KoFMT_MEMORY);
         to.number = manager.Hash(of.id, 0, First(of), 1, KoFMT_MEMORY, status);
         manager.Validate(of.id, of.stored.data(), of.stored.size(), KoFMT_BIG, 1, at);
         manager.DiskLenGet(of.id, of.stored.data(), of.stored.size(), KoFMT_BIG, 1, status);
         to.size = manager.Store(of.id, to.bytes.data(), First(of), KoFMT_BIG, 1);
         manager.SortKey(of.id, to.bytes.data(), 4096, First(of), KoFMT_MEMORY, 1, KoCMP_PLAIN);
         KoTimeStampRec clock = {2024, 2, 29, 1, 2, 3, 4};
         manager.StoreTimeStamp(of.id, to.bytes.data() + 2048, KoFMT_BIG, &clock);
     }},
    {"ko_pack", After::kTold, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_pack_with(ownSettings, of.id, of.utf8.data(), of.utf8.size(), nullptr, KO_BIG,
                                to.bytes.data(), RoomOf(to), nullptr);
     }},
    {"ko_pack_null", After::kNoMemory, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_pack_null(of.id, KO_BIG, to.bytes.data(), RoomOf(to));
     }},
    {"ko_text", After::kTold, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_text_with(ownSettings, of.id, of.stored.data(), of.stored.size(), KO_BIG,
                                nullptr, reinterpret_cast<char*>(to.bytes.data()), RoomOf(to));
     }},
    {"ko_convert", After::kNoMemory, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_convert(of.id, of.stored.data(), of.stored.size(), KO_BIG, KO_LITTLE,
                              to.bytes.data(), RoomOf(to));
     }},
    {"ko_is_null", After::kNoMemory, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_is_null(of.id, of.stored.data(), of.stored.size(), KO_BIG, &to.flag);
     }},
    {"ko_compare", After::kNoMemory, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_compare(of.id, of.stored.data(), of.stored.size(), of.stored.data(),
                              of.stored.size(), KO_PLAIN, KO_BIG, &to.flag);
     }},
    {"ko_key", After::kNoMemory, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_key(of.id, of.stored.data(), of.stored.size(), KO_PLAIN, KO_BIG,
                          to.bytes.data(), RoomOf(to));
     }},
    {"ko_from_key", After::kTold, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_from_key_with(ownSettings, of.id, of.key.data(), of.key.size(), KO_PLAIN,
                                    KO_BIG, to.bytes.data(), RoomOf(to));
     }},
    {"ko_hash", After::kNoMemory, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_hash(of.id, of.stored.data(), of.stored.size(), KO_PLAIN, KO_BIG, &to.number);
     }},
    {"ko_collate", After::kTold, 0,
     [](Subject& of, Answer& to) {
         to.code = ko_collate_with(ownSettings, of.utf8.data(), of.utf8.size(), of.utf8.data(),
                                   of.utf8.size(), KO_PLAIN, &to.flag);
     }},
};

/// An answer as one text, and whatever it owns is released.
struct Given {
    long long code;
    std::string state;
    bool operator==(const Given&) const = default;
};

Given Take(Subject& of, Answer& to)
{
    std::string state = Hex(Stored(manager, of.id, of.target.data, KoFMT_BIG, 1)) + ' ' +
                        std::to_string(to.flag) + ' ' + std::to_string(to.number) + ' ' +
                        data::FormatText(to.text);
    state += ' ' + Hex(Bytes(to.bytes.begin(),
                             to.bytes.begin() +
                                 static_cast<std::ptrdiff_t>(std::min(to.size, to.bytes.size()))));
    if (to.made != nullptr) {
        state += " made " + Hex(Stored(manager, of.id, to.made, KoFMT_BIG, 2));
        to.made = manager.Delete(of.id, to.made, 2);
    }
    if (to.record != nullptr) {
        for (int i = 0; to.record->GetString(i) != nullptr; ++i)
            state += " text " + data::FormatText(*to.record->GetString(i));
        delete to.record;
    }
    if (to.joined != nullptr) {
        state += " joined " + data::FormatText(*to.joined);
        manager.Delete(KoSTRING_T, to.joined, 1);
    }
    for (void* const end : {to.ends.low, to.ends.high}) {
        state += end != nullptr ? " closed" : " open";
        KoFree(end);
    }
    const KoString released = std::move(to.text);
    return {to.code, state};
}

/// A text of null that needs memory, and a handler.
const ko_settings& Settings()
{
    static const std::string nullText(400, 'n');
    static const ko_settings settings = [] {
        ko_settings made = KO_SETTINGS;
        made.null_text = nullText.c_str();
        made.out_of_memory = [](void*, std::size_t) { ++settingsCalls; };
        return made;
    }();
    return settings;
}

class Sweep
{
public:
    explicit Sweep(Subject& of) : m_of(of)
    {
        manager.AssignmentPtrGet(of.id)(m_before.data, of.target.data, 1, 0);
    }

    void Check(const Call& call)
    {
        SCOPED_TRACE(std::string(call.name) + " of " + Hex(m_of.stored).substr(0, 60));
        for (const int failing : {1, std::numeric_limits<int>::max()}) {
            ownSettings = failing == 1 ? nullptr : &Settings();
            Restore();
            Answer plain;
            call.run(m_of, plain);
            const long long code = plain.code;
            const Given right = Take(m_of, plain);
            Restore();
            Answer untouched;
            untouched.code = code;
            const Given before = Take(m_of, untouched);
            for (int first = 0; CheckOne(call, first, failing, right, before); ++first)
                ASSERT_LT(first, 1000);
            ownSettings = nullptr;
        }
        Restore();
    }

private:
    void Restore()
    {
        manager.Delete(m_of.id, m_of.target.data, 1);
        m_of.target.data = manager.Create(m_of.id, 1);
        manager.AssignmentPtrGet(m_of.id)(m_of.target.data, m_before.data, 1, 0);
    }

    /// True while an allocation fails.
    bool CheckOne(const Call& call, int first, int failing, const Given& right, const Given& before)
    {
        Restore();
        Answer answer;
        settingsCalls = 0;
        FailingHeap heap(first, failing);
        const bool isPacked = call.after == After::kNoMemory || call.after == After::kTold;
        if (isPacked)
            KoSetMemoryHandler(nullptr);
        call.run(m_of, answer);
        const bool failed = heap.HasFailed();
        heap.Relent();
        const int told = heap.HandlerCalls();
        const Given given = Take(m_of, answer);
        m_of.target.data = manager.Delete(m_of.id, m_of.target.data, 1);
        SCOPED_TRACE("allocation " + std::to_string(first));
        EXPECT_EQ(heap.Live(), 0U) << "left behind";
        if (given == right)
            return failed;
        EXPECT_TRUE(failed);
        EXPECT_NE(call.after, After::kSame);
        if (isPacked) {
            EXPECT_EQ(given.code, KO_NO_MEMORY) << ko_status_text(static_cast<int>(given.code));
            EXPECT_EQ(settingsCalls != 0, ownSettings != nullptr && call.after == After::kTold);
            return failed;
        }
        EXPECT_NE(told, 0) << "nobody was told";
        if (call.after == After::kOpenEnds) {
            EXPECT_NE(given.state.find(" open"), std::string::npos);
            EXPECT_EQ(given.code, right.code);
        } else {
            EXPECT_TRUE(call.code == kAny || given.code == call.code) << given.code;
            EXPECT_EQ(given.state, before.state);
        }
        return failed;
    }

    Subject& m_of;
    Array m_before{manager, m_of.id, manager.Create(m_of.id, 1), 1};
};

void CheckAll(o_char id, void* value)
{
    Subject of{id,
               {manager, id, manager.Create(id, 2), 2},
               {manager, id, manager.Create(id, 1), 1},
               Stored(manager, id, value, KoFMT_BIG, 1),
               Stored(manager, id, value, KoFMT_LITTLE, 1),
               Key(manager, id, value, KoFMT_MEMORY, 1, KoCMP_PLAIN),
               std::string(16384, ' '),
               KoString(KoCS_UNICODE, 0),
               {},
               {}};
    if (of.stored.size() > 4000)
        return;
    manager.AssignmentPtrGet(id)(of.values.data, value, 2, 1);
    std::size_t size = of.utf8.size();
    ASSERT_EQ(
        ko_text(id, of.stored.data(), of.stored.size(), KO_BIG, nullptr, of.utf8.data(), &size),
        KO_OK);
    of.utf8.resize(size);
    manager.PrintToKoString(id, of.printed, value, manager.TextFormatGet(id), 1);
    of.texts.reset(manager.ConvertTo(id, of.values.data, 2));
    KoString* const old = manager.ConvertToKoStringOld(of.values.data, id, 2);
    of.old = *old;
    manager.Delete(KoSTRING_T, old, 1);
    Sweep sweep(of);
    for (const Call& call : kCalls)
        sweep.Check(call);
}

TEST(Memory, RunsOutInNoCallUnsaid)
{
    ForEachType([](const KoTypeMgr&, o_char id) {
        const FixtureArray values(manager, id);
        for (unsigned i = 0; i < values.Count() && !HasFailure(); ++i)
            CheckAll(id, values[i]);
        if (manager.IsFixed(id) != 0)
            return;
        const Array value{manager, id, manager.Create(id, 1), 1};
        const std::string text(1500, '4');
        std::size_t at = 0;
        manager.ReadText(id, value.data, text.data(), text.size(), nullptr, at);
        CheckAll(id, value.data);
    });
}

} // namespace
