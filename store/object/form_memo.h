#ifndef KO_STORE_OBJECT_FORM_MEMO_H
#define KO_STORE_OBJECT_FORM_MEMO_H

#include <cstdint>

namespace ko::store::inner
{

/// What is worth keeping beside a form of one attribute that will come again: all 0 at first.
struct FormMemo {
    std::uint64_t key = 0;   ///< see EntryBuilder::Add
    std::uint32_t value = 0; ///< see StatisticsBuilder::Add
    std::uint32_t entry = 0; ///< of the dictionary, and one more; 0: not known to be one
};

} // namespace ko::store::inner

#endif
