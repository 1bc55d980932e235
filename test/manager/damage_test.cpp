#include "support/value.h"

namespace
{

/// A value with all that belongs to it.
std::string Shown(const Value& value, const std::string& format)
{
    if (value.Id() == KoSTRING_T)
        return data::FormatText(*static_cast<const KoString*>(value.Data()));
    const std::string text = value.Printed(format);
    return text == "null" || text[0] == '"' ? text : '"' + text + '"';
}

// As test/data/stored/damaged.txt says and explains.
TEST(Damage, IsReadWithinTheRecord)
{
    const KoTypeMgr manager;
    data::ForEachRow("stored/damaged.txt", 5, [&](const auto& head, const data::Row& row) {
        const auto format = static_cast<unsigned char>(std::stoi(head[2]));
        const unsigned read = static_cast<unsigned>(std::stoi(row[1]));
        const unsigned count = row[3] == "-" ? 1 : 2;
        const auto exact = Exactly(data::ParseBytes(row[0]));

        Value before(head[0]);
        before.Set(head[3], head[1]);
        const o_char id = before.Id();
        const Array loaded{manager, id, manager.Create(id, count), count};
        manager.AssignmentPtrGet(id)(loaded.data, before.Data(), count, 1);
        EXPECT_EQ(manager.Load(id, loaded.data, exact.get(), format, count), read);
        for (unsigned i = 0; i < count; ++i) {
            Value value(head[0]);
            manager.AssignmentPtrGet(id)(value.Data(),
                                         manager.GetArrayElement(id, loaded.data, i, 0), 1, 0);
            EXPECT_EQ(Shown(value, head[1]), row[2 + i]);
        }
        int status = 1;
        const int expected = read == 0 ? KoRC_NOT_SUPPORTED : KoRC_OK;
        EXPECT_EQ(manager.Cmp(id, 0, exact.get(), 0, exact.get(), 0, count, format, status),
                  read == 0 ? -1 : 0);
        EXPECT_EQ(status, expected);
        manager.Hash(id, 0, exact.get(), count, format, status);
        EXPECT_EQ(status, expected);
    });
}

} // namespace
