#include "core/value_ops.h"
#include "manager/slot.h"

#include <cstddef>

namespace ko
{

namespace
{

const KoString& ZeroText()
{
    static const KoString text("0");
    return text;
}

// Built with the library, as the null print string is.
[[maybe_unused]] const KoString& builtWithLibrary = ZeroText();

} // namespace

} // namespace ko

using namespace ko;

// ---- null values

// No type can test a persistent value for null through the manager.
int KoTypeMgr::DiskIsNullValue(o_char, void*) const
{
    return KoRC_NOT_SUPPORTED;
}

int KoTypeMgr::SetNullValue(o_char id, void* value) const
{
    const KoTypeDescriptor& type = TypeOf(*m_table, id);
    if (type.setNull != nullptr) {
        const int result = type.setNull(value);
        if (result != KoRC_NOT_SUPPORTED)
            return result;
    }
    if (type.assignment != nullptr) {
        KoTypeConvertData record{this, Create(KoSTRING_T, 1), 1, KoSTRING_T};
        void* newValue = Slot(type, &KoTypeDescriptor::convertFrom)(&record, 1);
        // Without memory there is no new value, and the old one stays.
        if (newValue != nullptr) {
            type.assignment(value, newValue, 1, 1);
            Slot(type, &KoTypeDescriptor::destroy)(newValue, 1);
        }
    } else if (type.scanFromKoString != nullptr) {
        // A scanner may consume its text.
        KoString text = ZeroText();
        type.scanFromKoString(value, text, type.printFormat, 1);
    }
    return 0;
}

// ---- sequences

int KoTypeMgr::GetValue(o_char id, void* value, unsigned length, unsigned char format,
                        unsigned char kind) const
{
    if (kind != 'M' && kind != 'N' && kind != 'O')
        return KoRC_NOT_SUPPORTED;
    const KoTypeDescriptor& type = TypeOf(*m_table, id);
    const KoGetValueFunc step = Slot(type, &KoTypeDescriptor::getValue);
    if (format == KoFMT_MEMORY || ExtensionOf(*m_table, id).stepsInEveryForm)
        return step(value, length, format, kind);

    void* element = Create(id, 1);
    if (element == nullptr)
        return KoRC_NOT_SUPPORTED;
    int result = KoRC_NOT_SUPPORTED;
    // The key form and bit 0 are all that is kept of the format, so a value of format 2 is read and
    // written least significant byte first. Stored sequences rely on it.
    const auto kept = static_cast<unsigned char>(format & (KoFMT_KEY | KoFMT_LITTLE));
    if (Load(id, element, value, kept, 1) != 0) {
        result = step(element, 0, KoFMT_MEMORY, kind);
        if (result == KoRC_OK && Store(id, value, element, kept, 1) == 0)
            result = KoRC_NOT_SUPPORTED;
    }
    Delete(id, element, 1);
    return result;
}

// ---- time stamps

int KoTypeMgr::StoreTimeStamp(o_char id, void* destination, unsigned char format,
                              KoTimeStampRec* clock) const
{
    const KoStampFunc stamp = ExtensionOf(id).stamp;
    if (clock == nullptr || stamp == nullptr)
        return KoRC_NOT_SUPPORTED;
    alignas(std::max_align_t) unsigned char value[16];
    stamp(value, *clock);
    return static_cast<int>(Store(id, destination, value, format, 1));
}
