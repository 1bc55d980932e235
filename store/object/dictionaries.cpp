#include "object/dictionaries.h"

#include "block/checksum.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

/// What the forms in all dictionaries together may take.
constexpr std::size_t kAllBytes = 16U << 20;

} // namespace

Dictionaries::Dictionaries(const BlockLayout& layout) : m_dictionaries(layout.size())
{
    const auto varying =
        static_cast<std::size_t>(std::count(layout.begin(), layout.end(), std::uint16_t{0}));
    m_mostBytes = std::min(Dictionary::kMostBytes, kAllBytes / std::max<std::size_t>(varying, 1));
}

Dictionary& Dictionaries::New(std::size_t attribute)
{
    std::optional<Dictionary>& dictionary = m_dictionaries[attribute];
    return dictionary ? *dictionary : dictionary.emplace(m_mostBytes);
}

Dictionary& Dictionaries::Of(std::size_t attribute, std::uint32_t size, Reader& reader)
{
    std::optional<Dictionary>& dictionary = m_dictionaries[attribute];
    if (dictionary && dictionary->SavedSize() == size)
        return *dictionary;
    dictionary.emplace(m_mostBytes);
    const std::uint32_t rows = (size + kEntriesInRow - 1) / kEntriesInRow;
    const auto cursor = reader.Walk(Space::Texts, {TextKey(attribute, 0), TextKey(attribute, rows)},
                                    Direction::Forwards);
    std::uint32_t row = 0;
    std::string key = TextKey(attribute, row);
    for (auto some = cursor->Next(rows + 1); !some.empty(); some = cursor->Next(rows + 1)) {
        for (const Row& text : some) {
            const std::string_view bytes = Unseal(Space::Texts, text.key, text.value);
            if (text.key != key || !dictionary->LoadRow(row, bytes, size))
                FailDamaged(Space::Texts, text.key, "holds no entries of a dictionary");
            key = TextKey(attribute, ++row);
        }
    }
    if (dictionary->Size() != size) {
        dictionary.reset();
        FailDamaged(Space::Texts, key, "is missing");
    }
    return *dictionary;
}

void Dictionaries::Write(const Take& take, std::vector<std::uint32_t>& texts)
{
    std::string bytes;
    for (std::size_t i = 0; i < m_dictionaries.size(); ++i) {
        std::optional<Dictionary>& dictionary = m_dictionaries[i];
        if (!dictionary || !dictionary->HasChanged())
            continue;
        for (std::uint32_t row = dictionary->FirstChanged(); row < dictionary->Rows(); ++row) {
            dictionary->WriteRow(row, bytes);
            const std::string key = TextKey(i, row);
            Seal(Space::Texts, key, bytes);
            take(key, bytes);
        }
        dictionary->Written();
        texts[i] = dictionary->Size();
    }
}

void Dictionaries::Forget()
{
    for (auto& dictionary : m_dictionaries)
        dictionary.reset();
}

} // namespace ko::store::inner
