#include "koconfig.h"

#include "komemory.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <new>

namespace
{

struct Setting {
    Setting* next;
    char* value;          // memory of its own
    const char* category; // both names stand after the record, in its memory
    const char* key;
};

// Few settings, read rarely: a list. Settings live until they are removed.
constinit Setting* g_settings = nullptr;

// The link that points at the setting, or the last link when there is none.
Setting** Find(const char* category, const char* key)
{
    Setting** link = &g_settings;
    while (*link != nullptr &&
           (std::strcmp((*link)->category, category) != 0 || std::strcmp((*link)->key, key) != 0))
        link = &(*link)->next;
    return link;
}

void* Allocate(std::size_t size)
{
    void* memory = KoAlloc(size);
    if (!memory)
        KoCallMemoryHandler(size);
    return memory;
}

bool EqualIgnoringCase(const char* text, const char* lower)
{
    for (;; ++text, ++lower) {
        const char c = *text >= 'A' && *text <= 'Z' ? static_cast<char>(*text - 'A' + 'a') : *text;
        if (c != *lower)
            return false;
        if (c == '\0')
            return true;
    }
}

} // namespace

const char* DefaultConfig::Get(const char* category, const char* key)
{
    if (!category || !key)
        return nullptr;
    const Setting* setting = *Find(category, key);
    return setting ? setting->value : nullptr;
}

bool DefaultConfig::GetBool(const char* category, const char* key)
{
    const char* value = Get(category, key);
    if (!value)
        return false;
    for (const char* yes : {"1", "yes", "true", "on"})
        if (EqualIgnoringCase(value, yes))
            return true;
    return false;
}

int DefaultConfig::Set(const char* category, const char* key, const char* value)
{
    if (!category || !key)
        return -1;
    Setting** link = Find(category, key);
    if (!value) {
        if (Setting* setting = *link) {
            *link = setting->next;
            KoFree(setting->value);
            KoFree(setting);
        }
        return 0;
    }

    // The copy comes first: `value` may be the text that Get gave.
    const std::size_t valueSize = std::strlen(value) + 1;
    char* copy = static_cast<char*>(Allocate(valueSize));
    if (!copy)
        return -1;
    std::memcpy(copy, value, valueSize);

    if (!*link) {
        const std::size_t categorySize = std::strlen(category) + 1;
        const std::size_t keySize = std::strlen(key) + 1;
        void* memory = Allocate(sizeof(Setting) + categorySize + keySize);
        if (!memory) {
            KoFree(copy);
            return -1;
        }
        char* names = static_cast<char*>(memory) + sizeof(Setting);
        std::memcpy(names, category, categorySize);
        std::memcpy(names + categorySize, key, keySize);
        *link = new (memory) Setting{nullptr, nullptr, names, names + categorySize};
    } else {
        KoFree((*link)->value);
    }
    (*link)->value = copy;
    return 0;
}
