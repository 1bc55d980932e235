#include <koobjid.h>

#include "identity/ops.h"

namespace ko
{

namespace
{

/// The object number of a stored element.
o_u8b StoredNumber(const unsigned char* element)
{
    return ReadOrdered<o_u8b>(element + 2, false) >> 16;
}

/// Two stored 16-bit fields, the first one highest.
o_u4b StoredPair(const unsigned char* fields)
{
    return std::rotl(ReadOrdered<o_u4b>(fields, false), 16);
}

/// The object number in sort keys: 48 bits, the most significant byte first.
constexpr unsigned kNumberKey = 6;

template <class Identity>
void PutNumberKey(unsigned char* out, const Identity& identity)
{
    PutKeyWord(out, identity.high);
    PutKeyWord(out + 2, identity.low);
}

struct ObjIdType {
    using Value = KoObjId;
    static constexpr KoTypeId kId = KoOBJID_T;
    static constexpr const IdentityKind& kKind = kObjIdKind;
    static constexpr const char* kFormat = kTypeRows[KoOBJID_T].printFormat;
    static constexpr unsigned kQuads = 2;
    static constexpr unsigned kPairs = 1;

    static IdentityFields ToFields(const KoObjId& id) { return {id.tag, id.low, id.high}; }
    static KoObjId FromFields(const IdentityFields& fields)
    {
        return {fields[kTag], fields[kLow], static_cast<o_u2b>(fields[kHigh])};
    }
    static int OrderStored(const unsigned char* a, const unsigned char* b)
    {
        return FirstByteDifference(StoredNumber(a), StoredNumber(b));
    }
    static o_u4b OlderHashBits(const KoObjId& id) { return id.low ^ id.high; }
    static constexpr unsigned kKeySize = kNumberKey;
    static constexpr bool kKeyIsWhole = false; // the tag takes no part in the order
    static void PutKey(unsigned char* out, const KoObjId& id) { PutNumberKey(out, id); }
};

struct ClassIdType {
    using Value = KoClassId;
    static constexpr KoTypeId kId = KoCLID_T;
    static constexpr const IdentityKind& kKind = kClassIdKind;
    static constexpr const char* kFormat = kTypeRows[KoCLID_T].printFormat;
    static constexpr unsigned kQuads = 0;
    static constexpr unsigned kPairs = 2;

    static IdentityFields ToFields(const KoClassId& id)
    {
        return {0, 0, 0, 0, id.classNo, id.version};
    }
    static KoClassId FromFields(const IdentityFields& fields)
    {
        return {static_cast<o_u2b>(fields[kClass]), static_cast<o_u2b>(fields[kVersion])};
    }
    static int OrderStored(const unsigned char* a, const unsigned char* b)
    {
        return FirstByteDifference(StoredPair(a), StoredPair(b));
    }
    static constexpr unsigned kKeySize = 4;
    static constexpr bool kKeyIsWhole = true;
    static void PutKey(unsigned char* out, const KoClassId& id)
    {
        PutKeyWord(out, id.classNo);
        PutKeyWord(out + 2, id.version);
    }
    static KoClassId FromKey(const unsigned char* key)
    {
        return {GetKeyWord<o_u2b>(key), GetKeyWord<o_u2b>(key + 2)};
    }
    static void AddHash(Hasher& hasher, const KoClassId& id)
    {
        hasher.Add(o_u4b{id.classNo} << 16 | id.version);
    }
};

struct RefType {
    using Value = KoRef;
    static constexpr KoTypeId kId = KoREF_T;
    static constexpr const IdentityKind& kKind = kRefKind;
    // This is deliberately not the print format of the type: it has the version.
    static constexpr const char* kFormat = "(%D:%H-%L#%B,%Cv%V)";
    static constexpr unsigned kQuads = 2;
    static constexpr unsigned kPairs = 3;

    static IdentityFields ToFields(const KoRef& ref)
    {
        return {ref.tag, ref.low, ref.high, ref.originId, ref.classNo, ref.version};
    }
    static KoRef FromFields(const IdentityFields& fields)
    {
        return {fields[kTag],
                fields[kLow],
                static_cast<o_u2b>(fields[kHigh]),
                static_cast<o_u2b>(fields[kOrigin]),
                static_cast<o_u2b>(fields[kClass]),
                static_cast<o_u2b>(fields[kVersion])};
    }
    // The number comes first, as in a KoObjId, so that ranges of numbers are ranges of an index.
    static int OrderStored(const unsigned char* a, const unsigned char* b)
    {
        const int order = FirstByteDifference(StoredNumber(a), StoredNumber(b));
        return order != 0 ? order : FirstByteDifference(StoredPair(a + 10), StoredPair(b + 10));
    }
    static constexpr unsigned kKeySize = kNumberKey + 4;
    static constexpr bool kKeyIsWhole = false;
    static void PutKey(unsigned char* out, const KoRef& ref)
    {
        PutNumberKey(out, ref);
        PutKeyWord(out + kNumberKey, ref.originId);
        PutKeyWord(out + kNumberKey + 2, ref.classNo);
    }
    static void AddHash(Hasher& hasher, const KoRef& ref)
    {
        hasher.Add(o_u8b{ref.high} << 32 | ref.low);
        hasher.Add(o_u4b{ref.originId} << 16 | ref.classNo);
    }
};

struct ObjIdOps : IdentityOps<ObjIdType> {
    static constexpr bool kIsIntegral = true;

    static int GetValue(void* value, unsigned, unsigned char format, unsigned char kind)
    {
        // In another form the bytes are no aligned value.
        if (format != KoFMT_MEMORY)
            return KoRC_NOT_SUPPORTED;
        auto& id = *static_cast<KoObjId*>(value);
        // A number of 64 bits that overflows where one of 48 does.
        o_u8b shifted = id.Number() << 16 | 0xFFFF;
        const int result = StepSequence<o_u8b>(&shifted, format, kind);
        if (result == KoRC_OK && kind != 'O')
            id.SetNumber(shifted >> 16);
        return result;
    }
};

struct ClassIdOps : IdentityOps<ClassIdType> {
    static float EvalAndBound(KoIdxBounds*, unsigned short&, void*, unsigned char, unsigned,
                              KoIdxBounds*)
    {
        return 1.0F;
    }
};

using RefOps = IdentityOps<RefType>;

} // namespace

KO_DEFINE_TYPE(koObjIdDescriptor, ObjIdOps, KoOBJID_T)
KO_DEFINE_TYPE(koClassIdDescriptor, ClassIdOps, KoCLID_T)
KO_DEFINE_TYPE(koRefDescriptor, RefOps, KoREF_T)

// clang-format off
#define KO_IDENTITY_LIST(X) \
    X(KoObjId, ObjIdOps) \
    X(KoClassId, ClassIdOps) \
    X(KoRef, RefOps)
// clang-format on

#define KO_IDENTITY_MEMBERS(Class, Ops)                                                            \
    void* Class::Create(unsigned count)                                                            \
    {                                                                                              \
        return Ops::Create(count);                                                                 \
    }                                                                                              \
    void* Class::Delete(void* array, unsigned count)                                               \
    {                                                                                              \
        return Ops::Destroy(array, count);                                                         \
    }                                                                                              \
    unsigned Class::Store(void* destination, const void* source, unsigned char format,             \
                          unsigned count)                                                          \
    {                                                                                              \
        return Ops::Store(destination, source, format, count);                                     \
    }                                                                                              \
    unsigned Class::Load(void* destination, const void* source, unsigned char format,              \
                         unsigned count)                                                           \
    {                                                                                              \
        return Ops::Load(destination, source, format, count);                                      \
    }                                                                                              \
    unsigned Class::NullSizeGet(unsigned count)                                                    \
    {                                                                                              \
        return Ops::NullSizeGet(count);                                                            \
    }                                                                                              \
    unsigned Class::SizeGet(const void* value, unsigned char valueFormat, unsigned char format,    \
                            unsigned count)                                                        \
    {                                                                                              \
        return Ops::SizeGet(value, valueFormat, format, count);                                    \
    }                                                                                              \
    unsigned Class::SizeGetFromMemFile(MemFile* file, unsigned char format, unsigned count)        \
    {                                                                                              \
        return Ops::SizeGetFromMemFile(file, format, count);                                       \
    }                                                                                              \
    int Class::Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,     \
                       void* value2, unsigned short cmpOp, unsigned count, int& status)            \
    {                                                                                              \
        return Ops::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);           \
    }                                                                                              \
    float Class::EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,                \
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)        \
    {                                                                                              \
        return Ops::EvalAndBound(bounds, op, value, format, count, newBounds);                     \
    }                                                                                              \
    unsigned Class::Hash(unsigned char format, unsigned length, void* value, unsigned count,       \
                         int& status)                                                              \
    {                                                                                              \
        return Ops::Hash(format, length, value, count, status);                                    \
    }                                                                                              \
    unsigned Class::Translate(void* destination, unsigned char destinationFormat,                  \
                              unsigned destinationLength, void* source,                            \
                              unsigned char sourceFormat, unsigned sourceLength, unsigned count)   \
    {                                                                                              \
        return Ops::Translate(destination, destinationFormat, destinationLength, source,           \
                              sourceFormat, sourceLength, count);                                  \
    }                                                                                              \
    KoString& Class::PrintToString(KoString& text, void* value, const char* format,                \
                                   unsigned count)                                                 \
    {                                                                                              \
        return Ops::Print(text, value, format, count);                                             \
    }                                                                                              \
    void* Class::ScanFromString(void* value, KoString& text, const char* format, unsigned count)   \
    {                                                                                              \
        return Ops::Scan(value, text, format, count);                                              \
    }                                                                                              \
    void Class::PrintToKoString(KoString& text, const char* format) const                          \
    {                                                                                              \
        Ops::PrintOne(text, *this, Ops::FormatOr(format));                                         \
    }                                                                                              \
    void Class::ScanFromKoString(const KoString& text, const char* format)                         \
    {                                                                                              \
        Ops::ScanOne(*this, text, Ops::FormatOr(format));                                          \
    }

namespace
{

constexpr const char* kLocalRefFormat = "(%H-%L#%B,%C)";

} // namespace

} // namespace ko

using namespace ko;

KO_IDENTITY_LIST(KO_IDENTITY_MEMBERS)
#undef KO_IDENTITY_MEMBERS
#undef KO_IDENTITY_LIST

void KoLocalRef::PrintToKoString(KoString& text, const char* format) const
{
    KoRef ref;
    ref = *this;
    RefOps::PrintOne(text, ref, format != nullptr ? format : kLocalRefFormat);
}

void KoLocalRef::ScanFromKoString(const KoString& text, const char* format)
{
    KoRef ref;
    ref = *this;
    RefOps::ScanOne(ref, text, format != nullptr ? format : kLocalRefFormat);
    *this = ref;
}
