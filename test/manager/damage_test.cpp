#include "support/value.h"

#include <sstream>

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

// As test/data/stored/strangers.txt says and explains.
TEST(Damage, IsFoundAndMeasuredWithinABound)
{
    data::ForEachRow("stored/strangers.txt", 5, [](const auto& head, const data::Row& row) {
        const KoTypeMgr manager(head[1] == "current" ? 5 : 3);
        const auto id = static_cast<o_char>(FindType(head[0]));
        std::istringstream asked(row[0]);
        unsigned format = 0;
        unsigned count = 0;
        asked >> format >> count;
        const auto form = static_cast<unsigned char>(format);
        const Bytes bytes = data::ParseBytes(row[1]);
        const auto exact = Exactly(bytes);
        std::size_t at = 99;
        const int code = manager.Validate(id, exact.get(), bytes.size(), form, count, at);
        EXPECT_EQ(std::to_string(code) + ' ' + std::to_string(at), row[2]);
        int status = 99;
        const unsigned length =
            manager.DiskLenGet(id, exact.get(), bytes.size(), form, count, status);
        EXPECT_EQ(std::to_string(length) + ' ' + std::to_string(status), row[3]);
    });
}

/// An object that owns its bytes is not looked at where the bound has no room for the whole of it.
TEST(Damage, ObjectsAreReadWithinTheBound)
{
    KoTypeMgr manager;
    for (const int type : {KoSTRING_T, KoBLOB_T, KoISTRING_T, KoCASEISTRING_T}) {
        const auto id = static_cast<o_char>(type);
        const unsigned size = manager.MemLenGet(id, 1);
        const Bytes address(size, 0xA5);
        const Array whole{manager, id, manager.Create(id, 1), 1};
        for (unsigned bound = 1; bound < size; ++bound) {
            const auto part = Exactly(Bytes(address.begin(), address.begin() + bound));
            SCOPED_TRACE(testing::Message() << manager.NameGet(id) << ", " << bound);
            for (const o_u1b format : {o_u1b{0x08}, o_u1b{0x48}}) {
                int status[3] = {};
                manager.Hash(id, bound, part.get(), 1, format, status[0]);
                EXPECT_EQ(manager.Cmp(id, bound, part.get(), size, whole.data, kExact, 1, format,
                                      status[1]),
                          0);
                EXPECT_EQ(manager.Cmp(id, size, whole.data, bound, part.get(), kExact, 1, format,
                                      status[2]),
                          0);
                for (const int code : status)
                    EXPECT_EQ(code, KoRC_TRUNCATED);
            }
        }
    }
}

} // namespace
