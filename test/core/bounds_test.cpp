#include "support/bounds.h"
#include "support/value.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>

namespace
{

const KoTypeMgr manager;

/// The bytes of an element in the form that evaluators and comparisons take.
Bytes InForm(o_char id, const void* elements, unsigned char format)
{
    // Identities take the memory form under the one format that is nothing else.
    const bool identity = id == KoOBJID_T || id == KoREF_T;
    if (identity ? format == KoFMT_MEMORY : (format & KoFMT_MEMORY) != 0) {
        const auto* bytes = static_cast<const unsigned char*>(elements);
        return Bytes(bytes, bytes + manager.MemLenGet(id, 1));
    }
    return Stored(manager, id, elements, format, 1);
}

/// A value of a type at an odd address, none for "-".
class Operand
{
public:
    Operand(const std::string& type, const std::string& field, const std::string& textFormat,
            unsigned char format)
    {
        if (field == "-")
            return;
        m_value = std::make_unique<Value>(type);
        m_value->Set(field, textFormat);
        if (manager.IsFixed(m_value->Id()) == 0 && format == KoFMT_MEMORY)
            return;
        const Bytes form = InForm(m_value->Id(), m_value->Data(), format);
        m_size = form.size();
        m_bytes = std::make_unique<unsigned char[]>(m_size + 1);
        std::memcpy(Get(), form.data(), m_size);
    }

    void* Get() const { return m_bytes ? m_bytes.get() + 1 : m_value ? m_value->Data() : nullptr; }
    std::size_t Size() const { return m_size; }

private:
    std::unique_ptr<Value> m_value; ///< the texts of which stay where they are
    std::unique_ptr<unsigned char[]> m_bytes;
    std::size_t m_size = 0;
};

/// The estimate of a row of a type under a format, and what narrowing has to give.
void CheckEstimate(const std::string& type, const std::string& textFormat, const data::Row& row,
                   unsigned char format)
{
    SCOPED_TRACE(testing::Message() << type << ", format " << int{format});
    const auto id = static_cast<o_char>(FindType(type));
    const Operand low(type, row[0], textFormat, format);
    const Operand high(type, row[1], textFormat, format);
    const Operand value(type, row[3], textFormat, format);
    KoIdxBounds bounds{low.Get(), high.Get(), 0, 0};
    Narrowed narrowed;
    // Bits beyond the mask are not looked at, but of texts.
    const bool isText = manager.IsFixed(id) == 0;
    auto op = static_cast<unsigned short>(OperatorOf(row[2]) | (isText ? 0 : 0x7FF0));
    const float estimate =
        manager.EvalAndBound(id, &bounds, op, value.Get(), format, 1, &narrowed, nullptr);
    const std::size_t range = row[4].find(" to ");
    EXPECT_GE(estimate, std::stof(row[4]) * 0.999999F);
    EXPECT_LE(estimate,
              std::stof(row[4].substr(range == std::string::npos ? 0 : range + 4)) * 1.000001F);
    EXPECT_EQ(bounds.low, low.Get());
    EXPECT_EQ(manager.EvalAndBound(id, nullptr, op, value.Get(), format, 1, nullptr, nullptr), 0.0F)
        << "nothing known of the index";
    if (isText) // test/data/bounds/ends.txt has their ends
        return;
    const auto check = [&](const void* end, unsigned length, bool closed) {
        ASSERT_EQ(end != nullptr, closed);
        EXPECT_EQ(length, closed ? value.Size() : 0U);
        EXPECT_TRUE(!closed || std::memcmp(end, value.Get(), value.Size()) == 0);
    };
    check(narrowed.low, narrowed.lowLen, (op & kLess) == 0);
    check(narrowed.high, narrowed.highLen, (op & kGreater) == 0);
}

TEST(Bounds, EstimatesUnderEveryFormat)
{
    data::ForEachRow("bounds/estimates.txt", 6, [](const auto& head, const data::Row& row) {
        std::istringstream types(head[0]);
        for (std::string type; types >> type;) {
            const bool isText = manager.IsFixed(static_cast<o_char>(FindType(type))) == 0;
            for (unsigned format = 0; format < 256; ++format)
                if (!isText || format == KoFMT_MEMORY || format == KoFMT_BIG)
                    CheckEstimate(type, head[1], row, static_cast<unsigned char>(format));
        }
    });
}

TEST(Bounds, TypesWithAFixedShare)
{
    KoBoolean truth(1);
    KoIdxBounds bounds{};
    for (unsigned short op = 0; op < 8; ++op) {
        Narrowed narrowed;
        EXPECT_FLOAT_EQ(manager.EvalAndBound(KoBOOLEAN_T, &bounds, op, &truth, KoFMT_LITTLE, 1,
                                             &narrowed, nullptr),
                        1.0F / 3.0F);
        EXPECT_EQ(narrowed.lowLen, (op & kLess) == 0 ? 1 : 0);
        EXPECT_EQ(narrowed.highLen, (op & kGreater) == 0 ? 1 : 0);
        EXPECT_EQ(manager.EvalAndBound(KoBOOLEAN_T, nullptr, op, &truth, 1, 1, nullptr, nullptr),
                  0.0F);
        for (const KoTypeId id : {KoCLID_T, KoBLOB_T}) {
            Narrowed none;
            EXPECT_EQ(manager.EvalAndBound(id, nullptr, op, nullptr, 1, 1, &none, nullptr), 1.0F);
            EXPECT_TRUE(none.low == nullptr && none.high == nullptr);
        }
    }
}

TEST(Bounds, NarrowingLeavesSetEndsAlone)
{
    o_4b value[] = {7, 8, 9};
    unsigned short op = kEqual;
    o_4b mine = 5;
    Narrowed narrowed;
    narrowed.low = &mine;
    narrowed.lowLen = 99;
    manager.EvalAndBound(Ko4B_T, nullptr, op, value, KoFMT_MEMORY, 3, &narrowed, nullptr);
    EXPECT_EQ(narrowed.low, &mine);
    EXPECT_EQ(narrowed.lowLen, 99);
    narrowed.low = nullptr;
    ASSERT_NE(narrowed.high, nullptr);
    EXPECT_EQ(std::memcmp(narrowed.high, value, sizeof value), 0) << "all elements";
    EXPECT_EQ(narrowed.highLen, sizeof value);
    EXPECT_EQ(op, kEqual);

    Narrowed wide;
    const std::vector<o_4b> many(100, 1);
    manager.EvalAndBound(Ko4B_T, nullptr, op, const_cast<o_4b*>(many.data()), KoFMT_MEMORY, 100,
                         &wide, nullptr);
    EXPECT_EQ(wide.lowLen, 400 % 256) << "a length of 8 bits";
    Narrowed none;
    EXPECT_EQ(manager.EvalAndBound(Ko4B_T, nullptr, op, nullptr, KoFMT_MEMORY, 0, &none, nullptr),
              0.0F);
    EXPECT_EQ(none.low, nullptr) << "no element is read";
}

} // namespace
