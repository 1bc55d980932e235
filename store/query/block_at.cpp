#include "query/block_at.h"

#include "block/checksum.h"

namespace ko::store::inner
{

const Column& ColumnOf(const Snapshot& snapshot, const BlockAt& block, std::size_t attribute)
{
    const Column* column = block.view->Values(attribute);
    if (column == nullptr) {
        std::string key;
        AppendNumber(key, snapshot.BlockOf(block.firstObject));
        FailDamaged(Space::Blocks, key, "has a column that is unsound");
    }
    return *column;
}

} // namespace ko::store::inner
