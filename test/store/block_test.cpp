#include "store/guarded_bytes.h"

#include "block/block_builder.h"
#include "block/checksum.h"
#include "block/dictionary.h"

#include <gtest/gtest.h>
#include <kostring.h>

#include <map>
#include <random>

using ko::store::Error;
using namespace ko::store::inner;

namespace
{

/// A class with an attribute of every type that has values.
Schema EveryType()
{
    Schema schema;
    for (int id = 0; id < KoTYPE_COUNT; ++id) {
        const auto type = static_cast<o_char>(id);
        const std::unique_ptr<void, std::function<void(void*)>> value(
            Manager().Create(type, 1), [&](void* made) { Manager().Delete(type, made, 1); });
        if (value != nullptr)
            schema.attributes.push_back({"a" + std::to_string(id), {}, ValueType(type), {}});
    }
    return schema;
}

/// Values that repeat in some attributes, and in some do not.
class Forms
{
public:
    explicit Forms(const Schema& schema) : m_schema(schema) {}

    std::string Any(std::size_t attribute, std::mt19937& random) const
    {
        const ValueType& type = m_schema.attributes[attribute].type;
        if (random() % 4 == 0)
            return {}; // absent
        Value value(type);
        std::string form;
        if (type.FixedSize() == 0) {
            static const char* const kTexts[] = {"", "a", "0a0b", "repeated", "7"};
            const auto kind = random() % 8;
            const std::string text = kind < 5   ? kTexts[kind]
                                     : kind < 7 ? std::to_string(random())
                                                : std::string(random() % 2000, 'f');
            unsigned errorAt = 0;
            Manager().ParseFromKoString(type.Id(), value.Get(), KoString(text.c_str()), nullptr,
                                        errorAt);
            value.Store(form);
            return form;
        }
        // Bytes of which some are the same in most values.
        form.assign(type.FixedSize(), '\0');
        for (auto i = random() % 3; i > 0; --i)
            form[random() % form.size() / (attribute % 3 + 1)] = static_cast<char>(random());
        std::size_t wrong = 0;
        while (Manager().Validate(type.Id(), form.data(), form.size(), kStoreFormat, 1, wrong) != 0)
            form[wrong] = static_cast<char>(random() % 2);
        return form;
    }

private:
    const Schema& m_schema;
};

/// What should stand in a block: the forms of every object by its slot, empty ones absent.
using Model = std::map<unsigned, std::vector<std::string>>;

class Store
{
public:
    Store() : schema(EveryType()), layout(LayoutOf(schema)), dictionaries(layout.size()) {}

    void Put(BlockBuilder& builder, unsigned slot, std::size_t attribute, const std::string& form)
    {
        if (layout[attribute] == 0)
            builder.Put(attribute, slot, dictionaries[attribute].Place(form));
        else
            builder.Put(attribute, slot, Cell::OfForm(form));
    }
    std::string FormOf(const Cell& cell, std::size_t attribute) const
    {
        return std::string(cell.kind == Cell::Kind::Entry ? dictionaries[attribute].Form(cell.entry)
                                                          : cell.form);
    }

    /// The view has the model's values, asked for one by one and by column.
    void Expect(BlockView& view, const Model& model)
    {
        ASSERT_EQ(view.Slots(), model.rbegin()->first + 1);
        EXPECT_EQ(view.CountObjects(), model.size());
        EXPECT_TRUE(view.AreFormsSound(schema));
        SlotBits objects;
        view.Objects(objects);
        std::string room;
        for (std::size_t attribute = 0; attribute < layout.size(); ++attribute) {
            const Column* column = view.Values(attribute);
            ASSERT_NE(column, nullptr) << schema.attributes[attribute].name;
            std::vector<std::uint16_t> codes(view.Slots());
            std::string forms(std::size_t{view.Slots()} * layout[attribute] + Column::kScanSlack,
                              '\0');
            SlotBits present{};
            if (layout[attribute] == 0)
                column->Codes(codes.data());
            else
                column->Forms(forms.data(), present);
            for (unsigned slot = 0; slot < view.Slots(); ++slot) {
                const auto object = model.find(slot);
                ASSERT_EQ(view.Has(slot), object != model.end()) << slot;
                ASSERT_EQ(view.Has(slot), TestBit(objects, slot)) << slot;
                if (object == model.end())
                    continue;
                const std::string& form = object->second[attribute];
                const Cell cell = column->At(slot, room);
                const bool large = layout[attribute] == 0 && form.size() > kMostInline;
                ASSERT_EQ(cell.kind == Cell::Kind::Large, large);
                ASSERT_EQ(cell.kind == Cell::Kind::Absent, form.empty());
                ASSERT_EQ(FormOf(cell, attribute), large ? "" : form)
                    << schema.attributes[attribute].name << " of " << slot;
                if (layout[attribute] == 0) {
                    ASSERT_EQ(codes[slot], cell.kind == Cell::Kind::Absent ? kAbsentCode
                                           : cell.kind == Cell::Kind::Form ? kInlineCode
                                           : large                         ? kLargeCode
                                                   : kFirstCode + cell.entry);
                } else {
                    ASSERT_EQ(TestBit(present, slot), !form.empty());
                    if (!form.empty()) {
                        ASSERT_EQ(forms.substr(slot * form.size(), form.size()), form);
                    }
                }
            }
        }
    }

    Schema schema;
    BlockLayout layout;
    std::vector<Dictionary> dictionaries;
};

class Blocks : public ::testing::TestWithParam<unsigned>
{
};

// Objects of every type come, change and go; the bytes show it, and not how it came about.
TEST_P(Blocks, HoldWhatWasPut)
{
    const unsigned slots = GetParam();
    std::mt19937 random(slots);
    Store store;
    const Forms forms(store.schema);
    BlockBuilder builder(store.layout, slots);
    BlockView view(store.layout);
    Model model;
    std::string bytes;
    for (int round = 0; round < 6; ++round) {
        for (unsigned i = 0; i < slots * 2; ++i) {
            const auto slot = static_cast<unsigned>(random() % slots);
            if (random() % 8 == 0) {
                builder.Erase(slot);
                model.erase(slot);
                continue;
            }
            builder.Add(slot);
            std::vector<std::string>& object = model[slot];
            object.resize(store.layout.size());
            for (std::size_t k = round % 3 == 0 ? store.layout.size() : 2; k > 0; --k) {
                const std::size_t attribute =
                    round % 3 == 0 ? k - 1 : random() % store.layout.size();
                object[attribute] = forms.Any(attribute, random);
                store.Put(builder, slot, attribute, object[attribute]);
            }
        }
        builder.Write(bytes);
        ASSERT_TRUE(view.Open(bytes));
        store.Expect(view, model);
        BlockBuilder again(store.layout, slots);
        ASSERT_TRUE(again.Load(view));
        std::string same;
        again.Write(same);
        EXPECT_EQ(same, bytes);
    }
    BlockBuilder small(store.layout, 8);
    EXPECT_FALSE(small.Load(view)) << "a block with more slots than the store has";
    EXPECT_TRUE(small.IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Sizes, Blocks, ::testing::Values(16, 128, 600));

// Whatever happens to the bytes, nothing beyond them is read; what is left of them can be written.
TEST(Block, ReadsNothingOutsideDamagedBytes)
{
    Store store;
    const Forms forms(store.schema);
    for (const bool holes : {false, true}) {
        std::mt19937 random(7);
        BlockBuilder builder(store.layout, 16);
        for (unsigned slot = 0; slot < 16; slot += holes ? 3 : 1) {
            builder.Add(slot);
            for (std::size_t a = 0; a < store.layout.size(); ++a)
                store.Put(builder, slot, a, forms.Any(a, random));
        }
        std::string bytes;
        std::string written;
        builder.Write(bytes);
        BlockView view(store.layout);
        BlockBuilder rebuilt(store.layout, kMostSlots);
        std::vector<std::uint16_t> codes(kMostSlots);
        const int sound = ReadDamaged(bytes, 5000, [&](std::string_view damaged) {
            if (!view.Open(damaged))
                return false;
            for (std::size_t a = 0; a < store.layout.size(); ++a) {
                const Column* column = view.Values(a);
                std::string room(std::size_t{view.Slots()} * store.layout[a] + Column::kScanSlack,
                                 '\0');
                SlotBits present;
                if (column != nullptr && store.layout[a] == 0)
                    column->Codes(codes.data());
                else if (column != nullptr)
                    column->Forms(room.data(), present);
            }
            rebuilt.Clear();
            if (!rebuilt.Load(view) || rebuilt.IsEmpty())
                return false;
            rebuilt.Write(written);
            return true;
        });
        EXPECT_GT(sound, 0) << "some changes leave another block";
        EXPECT_FALSE(view.Open(std::string_view(bytes).substr(0, 5)));
        ASSERT_TRUE(view.Open(bytes));
        EXPECT_TRUE(view.AreFormsSound(store.schema));
    }
}

// The bytes that doc/formats.md shows.
TEST(Block, HasTheDocumentedBytes)
{
    const std::string_view seven("\x07\0\0\0", 4);
    const std::string_view threeHundred("\x2C\x01\0\0", 4);
    const std::string_view a("\x05\0\x01\0a\0\xFF", 7);
    const struct {
        BlockLayout layout;
        std::vector<Cell> cells;
        std::string_view bytes;
        const char* reason;
    } kRows[] = {
        {{4},
         {Cell::OfForm(threeHundred), Cell::OfForm(seven), Cell::OfForm(threeHundred),
          Cell::OfForm(threeHundred), Cell::OfForm(threeHundred), Cell::OfForm(seven),
          Cell::OfForm(threeHundred), Cell::OfForm(threeHundred)},
         {"\1\0\x8\0\1\0\xB\0\3\0\7\0\0\0\x2C\1\0\0\x22", 19},
         "a common form"},
        {{0},
         {Cell::OfEntry(0), Cell::OfForm(a), Cell()},
         {"\1\0\3\0\1\0\xE\0\x22\0\0\7\2\7\0\5\0\1\0a\0\xFF", 22},
         "codes, and a form in the block"},
        {{0},
         {Cell::OfLarge(), Cell::OfLarge()},
         {"\1\0\2\0\1\0\3\0\0\2\0", 11},
         "one code of no bits"},
        {{4}, {Cell(), Cell()}, {"\1\0\2\0\1\0\0\0", 8}, "no column where all is absent"},
    };
    for (const auto& row : kRows) {
        BlockBuilder builder(row.layout, 16);
        for (unsigned slot = 0; slot < row.cells.size(); ++slot) {
            builder.Add(slot);
            builder.Put(0, slot, row.cells[slot]);
        }
        std::string bytes;
        builder.Write(bytes);
        EXPECT_EQ(bytes, row.bytes) << row.reason;
    }
    EXPECT_EQ(SlotsFor(1000, 12), 64U);
    EXPECT_EQ(SlotsFor(1000, 5000), kFewestSlots);
    EXPECT_EQ(SlotsFor(1 << 30, 1), kMostSlots);
    std::string empty;
    Seal(Space::Texts, "\x01\x02", empty);
    EXPECT_EQ(empty, "\xFA\x87\x8B\x2A\xDF\xEF\x67\x28");
}

TEST(Block, SealTellsPlaceAndBytes)
{
    const std::string key = "\x01\x02";
    for (const std::size_t size : {0U, 1U, 200U, 5000U}) {
        std::string value(size, 'v');
        Seal(Space::Texts, key, value);
        ASSERT_EQ(Unseal(Space::Texts, key, value), std::string(size, 'v'));
        EXPECT_THROW(Unseal(Space::Large, key, value), Error);
        EXPECT_THROW(Unseal(Space::Texts, key + "\x03", value), Error);
        EXPECT_THROW(Unseal(Space::Texts, key, value.substr(1)), Error);
    }
}

// Texts that repeat enter, texts that are met once do not, and the rows give them back.
TEST(Dictionary, KeepsWhatRepeats)
{
    Dictionary dictionary(100'000);
    const auto text = [](unsigned i) { return "text " + std::to_string(i); };
    std::map<std::string, std::uint32_t> entries;
    for (unsigned i = 0; i < 60'000; ++i) {
        const std::string form = i % 3 == 0 ? text(1'000 + i) : text(i % 500);
        const Cell cell = dictionary.Place(form);
        ASSERT_FALSE(cell.kind == Cell::Kind::Form && entries.contains(form));
        if (cell.kind == Cell::Kind::Entry) {
            ASSERT_EQ(entries.emplace(form, cell.entry).first->second, cell.entry);
            ASSERT_EQ(dictionary.Form(cell.entry), form);
        }
    }
    EXPECT_EQ(entries.size(), 500U);
    EXPECT_EQ(dictionary.Size(), 500U);
    EXPECT_EQ(dictionary.Place(std::string(kMostInline + 1, 'x')).kind, Cell::Kind::Large);
    Dictionary read;
    std::string row;
    for (std::uint32_t i = 0; i < dictionary.Rows(); ++i) {
        dictionary.WriteRow(i, row);
        EXPECT_FALSE(read.LoadRow(i + 1, row)) << "rows follow one another";
        ASSERT_TRUE(read.LoadRow(i, row));
    }
    EXPECT_FALSE(read.HasChanged());
    for (const auto& [form, entry] : entries)
        ASSERT_EQ(read.Find(form), entry);
    // A form twice, a full dictionary: no more entries, but other forms stand by themselves.
    for (unsigned i = 0; i < 40'000; ++i)
        dictionary.Place(text(100'000 + i / 2));
    EXPECT_GT(dictionary.Size(), 5'000U);
    EXPECT_LT(dictionary.Size(), 10'000U) << "100,000 bytes hold no more";
    EXPECT_EQ(dictionary.FirstChanged(), 0U);
    EXPECT_EQ(dictionary.Place(text(100'000 + 19'999)).kind, Cell::Kind::Form);

    ReadDamaged(row, 20'000, [&](std::string_view damaged) {
        TextRow texts;
        std::size_t bytes = 0;
        if (texts.Open(damaged)) {
            for (unsigned i = 0; i < texts.Count(); ++i)
                bytes += std::string(texts.Form(i)).size();
        }
        EXPECT_LE(bytes, damaged.size());
        return bytes != 0;
    });
}

} // namespace
