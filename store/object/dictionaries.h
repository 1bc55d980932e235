#ifndef KO_STORE_OBJECT_DICTIONARIES_H
#define KO_STORE_OBJECT_DICTIONARIES_H

#include "block/dictionary.h"
#include "engine/engine.h"
#include "object/description.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The dictionaries of a store for who writes it. They grow with what is placed, and may serve one
/// change after another: entries never change, so that a dictionary of the size that the store's
/// has is the store's.
class Dictionaries
{
public:
    explicit Dictionaries(const BlockLayout& layout);

    /// That of an attribute whose forms vary, read where the one at hand has another size than
    /// `size`. Throws Error (ErrorCode::Damaged). Valid until Forget.
    Dictionary& Of(std::size_t attribute, std::uint32_t size, Reader& reader);
    /// The same for a store that has nothing yet.
    Dictionary& New(std::size_t attribute);

    /// Hands over the rows that changed since they were read or written, their checksums behind
    /// them, in the order of their keys, and sets the sizes in `texts`.
    using Take = std::function<void(std::string_view key, std::string_view sealed)>;
    void Write(const Take& take, std::vector<std::uint32_t>& texts);
    /// What was placed has not been stored.
    void Forget();

private:
    std::size_t m_mostBytes; ///< of each
    std::vector<std::optional<Dictionary>> m_dictionaries;
};

} // namespace ko::store::inner

#endif
