#ifndef KO_CORE_VALUE_OPS_H
#define KO_CORE_VALUE_OPS_H

#include "core/memory_watch.h"
#include "core/record.h"

#include <kostring.h>

#include <cstddef>
#include <new>
#include <type_traits>

namespace ko
{

/// Memory for `count` elements of `size` bytes, not initialised; null, after the memory handler
/// was called, when there is none.
inline void* AllocateElements(std::size_t size, unsigned count)
{
    void* memory = KoAlloc(size * count);
    if (memory == nullptr)
        KoCallMemoryHandler(size * count);
    return memory;
}

/// An array of `count` new empty texts that the string type owns; releases it unless taken.
class TextArray
{
public:
    explicit TextArray(unsigned count)
        : m_texts(static_cast<KoString*>(koStringDescriptor.create(count))), m_count(count)
    {
    }
    TextArray(const TextArray&) = delete;
    TextArray& operator=(const TextArray&) = delete;
    ~TextArray()
    {
        if (m_texts != nullptr)
            koStringDescriptor.destroy(m_texts, m_count);
    }

    explicit operator bool() const { return m_texts != nullptr; }
    KoString& operator[](unsigned index) { return m_texts[index]; }
    KoString* Get() { return m_texts; }
    KoString* Take()
    {
        KoString* texts = m_texts;
        m_texts = nullptr;
        return texts;
    }

private:
    KoString* m_texts;
    unsigned m_count;
};

/// The `convertTo` of a type: `print(text, i)` writes the text of element i into an empty string.
template <class Print>
KoTypeConvertData* MakeTextRecord(unsigned count, Print print)
{
    const MemoryWatch memory;
    TextArray texts(count);
    if (!texts)
        return nullptr;
    for (unsigned i = 0; i < count; ++i)
        print(texts[i], i);
    if (memory.HasRunOut()) // a text is not whole
        return nullptr;
    KoTypeConvertData* record = KoTypeConvertData::Make(KoSTRING_T, count, texts.Get(), nullptr);
    if (record != nullptr)
        texts.Take();
    return record;
}

/// The `convertFrom` of a type: an array of the type's own `create`, in which
/// `read(elements, i, text)` fills element i. `text` is null where the record has no text or the
/// null string.
template <class Ops, class T, class Read>
void* ReadTextRecord(KoTypeConvertData* data, unsigned count, Read read)
{
    const MemoryWatch memory;
    auto* elements = static_cast<T*>(Ops::Create(count));
    for (unsigned i = 0; elements != nullptr && i < count; ++i) {
        // The index is signed: beyond its range a record has no text.
        KoString* text =
            data != nullptr && i <= 0x7FFFFFFFU ? data->GetString(static_cast<int>(i)) : nullptr;
        if (text != nullptr && text->IsNullValue())
            text = nullptr;
        read(elements[i], text);
    }
    return elements != nullptr && memory.HasRunOut() ? Ops::Destroy(elements, count) : elements;
}

/// The default value of scalar and value types: what the type converts from empty texts.
template <class Ops>
void* DefaultFromEmptyTexts(unsigned count)
{
    TextArray texts(count);
    if (!texts)
        return nullptr;
    // A record without a manager does not delete its texts: they are the array's.
    KoTypeConvertData record{nullptr, texts.Get(), count, KoSTRING_T};
    return Ops::ConvertFrom(&record, count);
}

template <class T>
concept HasNullValue = requires(T& value)
{
    static_cast<int>(value.IsNullValue());
    static_cast<int>(value.SetNullValue());
};

/// What is the same for all C++ value classes. `Ops` is the operations class that derives from
/// it, so that what it hides here takes part:
///
///     struct DateOps : ValueOps<KoDate, DateOps> { ... };
///
/// An operations class whose empty element is not `T()` hides ConstructOne.
template <class T, class Ops>
struct ValueOps : NoOps {
    using Value = T;

    static void ConstructOne(void* memory) { new (memory) T(); }

    static void* Create(unsigned count)
    {
        void* array = AllocateElements(sizeof(T), count);
        if (array == nullptr)
            return nullptr;
        if constexpr (std::is_trivially_destructible_v<T>) {
            Construct(array, count, 0);
            return array;
        } else {
            const MemoryWatch memory;
            Construct(array, count, 0);
            return memory.HasRunOut() ? Destroy(array, count) : array;
        }
    }

    static void* Destroy(void* array, unsigned count)
    {
        if (array != nullptr)
            Destruct(array, count, 0);
        KoFree(array);
        return nullptr;
    }

    static void Construct(void* array, unsigned count, unsigned)
    {
        for (unsigned i = 0; i < count; ++i)
            Ops::ConstructOne(static_cast<T*>(array) + i);
    }

    static void Destruct(void* array, unsigned count, unsigned)
    {
        for (unsigned i = 0; i < count; ++i)
            static_cast<T*>(array)[i].~T();
    }

    static void Assign(void* destination, void* source, unsigned count, int broadcast)
    {
        const auto* from = static_cast<const T*>(source);
        for (unsigned i = 0; i < count; ++i)
            static_cast<T*>(destination)[i] = from[broadcast != 0 ? 0 : i];
    }

    static void Copy(void* destination, void* source, unsigned count, int broadcast)
    {
        const auto* from = static_cast<const T*>(source);
        for (unsigned i = 0; i < count; ++i)
            new (static_cast<T*>(destination) + i) T(from[broadcast != 0 ? 0 : i]);
    }

    // A class without a null value has the not-null test that all such types share, and no setNull.
    static constexpr KoNullFunc IsNull = []() -> KoNullFunc {
        if constexpr (HasNullValue<T>)
            return
                [](void* value) { return static_cast<int>(static_cast<T*>(value)->IsNullValue()); };
        else
            return NoOps::IsNull;
    }();
    static constexpr KoNullFunc SetNull = []() -> KoNullFunc {
        if constexpr (HasNullValue<T>)
            return [](void* value) {
                return static_cast<int>(static_cast<T*>(value)->SetNullValue());
            };
        else
            return nullptr;
    }();

    static void* DefaultValue(unsigned count, int) { return DefaultFromEmptyTexts<Ops>(count); }
};

} // namespace ko

#endif
