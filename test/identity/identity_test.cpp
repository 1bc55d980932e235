#include <kotms.h>

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

constexpr KoRef kRef = {4, 3, 2, 1, 5, 6}; // tag, low, high, origin, class, version
constexpr KoObjId kObject = {4, 3, 2};
constexpr KoClassId kClass = {5, 6};

TEST(Identity, ObjectNumbersCountModulo2To48)
{
    constexpr o_u8b kLargest = 0xFFFFFFFFFFFF;
    for (const o_u8b number : {o_u8b{0}, o_u8b{0x5FFFFFFFF}, o_u8b{0x600000000}, kLargest})
        for (const int step : {1, -1, 0, 32767, -32768}) {
            KoObjId id = {7, 0, 0};
            id.SetNumber(number);
            id += static_cast<short>(step);
            EXPECT_EQ(id.Number(), (number + static_cast<o_u8b>(o_8b{step})) & kLargest) << step;
            EXPECT_EQ(id.tag, 7U);
        }
    KoObjId id = {7, 0, 0};
    EXPECT_EQ((--id).Number(), kLargest);
    id.SetHighestValue();
    EXPECT_EQ(id.tag, 0U);
    EXPECT_EQ((++id).Number(), 0U);
}

TEST(Identity, SequencesEndAtTheLargestNumber)
{
    KoTypeMgr manager;
    KoObjId id = {7, 0xFFFFFFFE, 0xFFFF};
    EXPECT_EQ(manager.GetValue(KoOBJID_T, &id, 0, KoFMT_MEMORY, 'N'), KoRC_OK);
    EXPECT_EQ(manager.GetValue(KoOBJID_T, &id, 0, KoFMT_MEMORY, 'M'), KoRC_OVERFLOW);
    EXPECT_EQ(manager.GetValue(KoOBJID_T, &id, 0, KoFMT_MEMORY, 'O'), KoRC_OK);
    EXPECT_EQ(id.Number(), 0xFFFFFFFFFFFFU);
    EXPECT_EQ(id.tag, 7U);
    unsigned char stored[10] = {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 5, 0};
    EXPECT_EQ(manager.GetValue(KoOBJID_T, stored, 0, KoFMT_LITTLE, 'N'), KoRC_OK);
    EXPECT_EQ(Bytes(stored, stored + 10), Bytes({1, 0, 0, 0, 0, 0, 0, 0, 6, 0}));

    const KoGetValueFunc step = koCurrentTypeTable.entry[KoOBJID_T]->getValue;
    EXPECT_EQ(step(&id, 0, KoFMT_MEMORY, 2), KoRC_OK);
    EXPECT_EQ(id.Number(), 0U);
    EXPECT_EQ(step(&id, 0, KoFMT_LITTLE, 'N'), KoRC_NOT_SUPPORTED);
    EXPECT_EQ(step(&id, 0, KoFMT_MEMORY, 'P'), KoRC_NOT_SUPPORTED);
    KoRef ref = kRef;
    EXPECT_EQ(manager.GetValue(KoREF_T, &ref, 0, KoFMT_MEMORY, 'N'), KoRC_NOT_SUPPORTED);
}

TEST(Identity, ValidityOfReferences)
{
    const auto valid = [](const KoRef& ref) {
        EXPECT_NE(ref.IsInvalid(), ref.IsValid());
        EXPECT_NE(ref.IsInvalidOriginId(), ref.IsValidOriginId());
        return std::pair(ref.IsValid() != 0, ref.IsValidOriginId() != 0);
    };
    EXPECT_EQ(valid(kRef), std::pair(true, true));
    EXPECT_EQ(valid({0, 0, 1, 0, 1, 0}), std::pair(true, true)) << "high alone makes a number";
    EXPECT_EQ(valid({9, 0, 0, 1, 5, 6}), std::pair(false, false)) << "no number";
    EXPECT_EQ(valid({0, 3, 2, 1, 0, 6}), std::pair(false, false)) << "no class";
    EXPECT_EQ(valid({0, 3, 2, 0xFFFF, 5, 0}), std::pair(false, true)) << "no origin";
    EXPECT_EQ(valid({0, 3, 2, 0xFFFF, 0, 0}), std::pair(false, true)) << "nor a class";
    EXPECT_EQ(valid({}), std::pair(false, false)) << "nothing";
}

/// All fields, for a comparison that leaves none out.
std::vector<unsigned> Fields(const KoRef& ref)
{
    return {ref.tag, ref.low, ref.high, ref.originId, ref.classNo, ref.version};
}
std::vector<unsigned> Fields(const KoLocalRef& ref)
{
    return {ref.tag, ref.low, ref.high, ref.classNo, ref.version};
}

TEST(Identity, AssignmentsSetTheFieldsOfTheirOperand)
{
    using Expected = std::vector<unsigned>;
    KoRef ref;
    EXPECT_EQ(Fields(ref = kObject), Expected({4, 3, 2, 0, 0, 0}));
    EXPECT_EQ(Fields(ref = kClass), Expected({4, 3, 2, 0, 5, 6}));
    EXPECT_EQ(Fields(ref = static_cast<unsigned short>(1)), Fields(kRef));
    EXPECT_EQ(Fields(ref = KoLocalRef{14, 13, 12, 15, 16}), Expected({14, 13, 12, 1, 15, 16}));
    KoLocalRef local;
    EXPECT_EQ(Fields(local = kClass), Expected({0, 0, 0, 5, 6}));
    EXPECT_EQ(Fields(local = kObject), Expected({4, 3, 2, 5, 6}));
    EXPECT_EQ(Fields(local = KoLocalRef{}), Expected({0, 0, 0, 0, 0}));
    EXPECT_EQ(Fields(local = kRef), Expected({4, 3, 2, 5, 6}));
}

/// The value with one field other than before.
template <class T, class Field>
T With(T value, Field T::*field)
{
    value.*field = static_cast<Field>(value.*field + 1);
    return value;
}

TEST(Identity, EqualityReadsWhatIsStoredButTheTag)
{
    const KoLocalRef local = {4, 3, 2, 5, 6};
    const auto changes = [](const auto& value, const auto&... fields) {
        return std::vector<bool>{!(With(value, fields) == value)...};
    };
    using Changed = std::vector<bool>; // of the tag, low, high, origin, class, version
    EXPECT_EQ(changes(kObject, &KoObjId::tag, &KoObjId::low, &KoObjId::high),
              Changed({false, true, true}));
    EXPECT_EQ(changes(kClass, &KoClassId::classNo, &KoClassId::version), Changed({true, true}));
    EXPECT_EQ(changes(kRef, &KoRef::tag, &KoRef::low, &KoRef::high, &KoRef::originId,
                      &KoRef::classNo, &KoRef::version),
              Changed({false, true, true, true, true, false}));
    EXPECT_EQ(changes(local, &KoLocalRef::tag, &KoLocalRef::low, &KoLocalRef::classNo),
              Changed({false, true, true}));
    EXPECT_TRUE(local == With(kRef, &KoRef::originId)) << "local and full, any origin";
    EXPECT_TRUE(kRef == local);
    EXPECT_FALSE(local == With(kRef, &KoRef::classNo));
    EXPECT_TRUE(kRef != With(kRef, &KoRef::high));
    EXPECT_FALSE(local != kRef);

    EXPECT_TRUE(KoClassId({2, 0}) > KoClassId({1, 5}));
    EXPECT_TRUE(KoClassId({2, 1}) > KoClassId({2, 0}));
    EXPECT_FALSE(KoClassId({2, 1}) > KoClassId({2, 1}));
}

// That in memory there is no order, manager/golden_test.cpp holds.
TEST(Identity, BoundsCutElementsOff)
{
    KoObjId ids[] = {{0, 1, 0}, {5, 1, 0}};
    int status = 1;
    EXPECT_EQ(KoObjId::Compare(KoFMT_MEMORY, 0, &ids[0], 0, &ids[1], 0, 1, status), 0) << "tags";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(KoObjId::Compare(KoFMT_MEMORY, 12, &ids[0], 24, &ids[0], 0, 2, status), 0);
    EXPECT_EQ(status, KoRC_TRUNCATED);
    unsigned char stored[20] = {};
    KoObjId::Store(stored, ids, KoFMT_LITTLE, 2);
    EXPECT_EQ(KoObjId::Compare(KoFMT_LITTLE, 20, stored, 10, stored, 0, 2, status), 0);
    EXPECT_EQ(status, KoRC_TRUNCATED);
}

/// What a class prints under a format; null is its own.
template <class T>
std::string Printed(const T& value, const char* format)
{
    KoString text;
    value.PrintToKoString(text, format);
    return text.StrGet();
}

TEST(Identity, PrintedText)
{
    const KoLocalRef local = {4, 3, 2, 5, 6};
    const std::string letters(300, 'x');
    EXPECT_EQ(Printed(local, nullptr), "(2-3#4,5)");
    EXPECT_EQ(Printed(local, "%D %V"), "0 6") << "a local reference has origin 0";
    EXPECT_EQ(Printed(kObject, (letters + "%L").c_str()), letters + "3");
    EXPECT_EQ(Printed(KoRef{9, 0, 0, 1, 5, 6}, "%C"), "{NULL}") << "no number is null";
    EXPECT_EQ(Printed(KoLocalRef{}, nullptr), "{NULL}");
    KoRef ref = kRef;
    KoString text("a ");
    KoRef::PrintToString(text, &ref, nullptr, 1);
    EXPECT_STREQ(text.StrGet(), "a (1:2-3#4,5v6)") << "the record's function has another default";
    KoLocalRef scanned;
    scanned.ScanFromKoString(KoString("(2-3#4,5)"), nullptr);
    EXPECT_EQ(Fields(scanned), Fields(KoLocalRef{4, 3, 2, 5, 0}));
}

} // namespace
