#include "object/object_change.h"

#include "base/object_number.h"
#include "block/block_builder.h"
#include "block/checksum.h"
#include "index/entry_key.h"
#include "object/dictionaries.h"
#include "object/entry_changes.h"
#include "object/index_feed.h"
#include <kostore.h>

#include <map>
#include <utility>
#include <vector>

namespace ko::store::inner
{

struct ObjectChange::State {
    std::shared_ptr<Writer> writer;
    Snapshot now; ///< of what was there when the change began: description, counts and layout
    Dictionaries& dictionaries;
    Counts counts;
    EntryChanges entries;
    std::vector<std::pair<std::size_t, ValueKeys>> keys; ///< of the indexed attributes
    std::vector<std::string> nulls;                      ///< forms of null values, by attribute

    // The block that is worked on: in the builder, and in `view` as it was written last.
    std::uint64_t number = 0;
    bool isOpen = false;
    bool hasChanged = false; ///< the builder, since it was put
    bool isViewed = false;   ///< `view` has what the builder has
    BlockBuilder builder;
    std::string bytes;
    BlockView view;
    std::string room;

    State(std::shared_ptr<Writer> writer_, const std::string& store, Dictionaries& dictionaries_)
        : writer(std::move(writer_)), now(writer, false, store), dictionaries(dictionaries_),
          counts(now.GetCounts()), entries(*writer), builder(now.Layout(), now.SlotsOfBlock()),
          view(now.Layout())
    {
        now.NeedIndexes();
        const auto& attributes = now.GetSchema().attributes;
        for (const std::size_t i : IndexedAttributes(now.GetSchema()))
            keys.emplace_back(i, ValueKeys(i, attributes[i].type));
        for (const Attribute& attribute : attributes) {
            std::string& form = nulls.emplace_back();
            if (attribute.type.HasNull()) {
                Value value(attribute.type);
                value.SetNull();
                value.Store(form);
            }
        }
    }

    /// Works on a block from now on.
    void Open(std::uint64_t block)
    {
        if (isOpen && number == block)
            return;
        Flush();
        isOpen = true;
        number = block;
        builder.Clear();
        const std::string key = BlockKey(block);
        const auto sealed = writer->GetOne(Space::Blocks, key);
        isViewed = sealed.has_value();
        if (!sealed)
            return;
        bytes = Unseal(Space::Blocks, key, *sealed);
        if (!view.Open(bytes) || !builder.Load(view)) {
            isOpen = false;
            FailDamaged(Space::Blocks, key, "holds no objects of this store");
        }
    }

    /// Puts the block where it stands.
    void Flush()
    {
        if (!hasChanged)
            return;
        const std::string key = BlockKey(number);
        hasChanged = false;
        if (builder.IsEmpty()) {
            writer->Erase(Space::Blocks, key);
            return;
        }
        builder.Write(room);
        Seal(Space::Blocks, key, room);
        writer->Put(Space::Blocks, key, room);
    }

    void Changed()
    {
        hasChanged = true;
        isViewed = false;
    }

    bool Find(std::uint64_t object)
    {
        if (object == 0 || object > kMaxObjectNumber)
            return false;
        Open(now.BlockOf(object));
        return builder.Has(now.SlotOf(object));
    }

    /// The value of an object of the open block.
    Cell CellOf(std::uint64_t object, std::size_t attribute)
    {
        if (!isViewed) {
            builder.Write(bytes);
            view.Open(bytes);
            isViewed = true;
        }
        Cell cell;
        view.At(attribute, now.SlotOf(object), cell, room);
        return cell;
    }

    std::string FormOf(std::uint64_t object, std::size_t attribute)
    {
        const Cell cell = CellOf(object, attribute);
        if (cell.kind == Cell::Kind::Entry)
            return std::string(DictionaryOf(attribute).Form(cell.entry));
        return std::string(now.Form(attribute, cell, object, room));
    }

    Dictionary& DictionaryOf(std::size_t attribute)
    {
        // What this change adds is not in the store before it is committed.
        Dictionary*& dictionary = opened[attribute];
        if (dictionary == nullptr)
            dictionary = &dictionaries.Of(attribute, now.Texts(attribute), *writer);
        return *dictionary;
    }
    std::map<std::size_t, Dictionary*> opened;

    /// A form that may be stored, empty for the null value.
    std::string_view Normal(std::size_t attribute, std::string_view form) const
    {
        if (form == nulls[attribute])
            form = {};
        now.GetSchema().attributes[attribute].RequireForm(form);
        return form;
    }

    /// Sets a value of an object of the open block that has none.
    void Put(std::uint64_t object, std::size_t attribute, std::string_view form)
    {
        Cell cell = Cell::OfForm(form);
        if (now.Layout()[attribute] == 0 && !form.empty())
            cell = DictionaryOf(attribute).Place(form);
        if (cell.kind == Cell::Kind::Large) {
            const std::string key = LargeKey(object, attribute);
            std::string sealed(form);
            Seal(Space::Large, key, sealed);
            writer->Put(Space::Large, key, sealed);
        }
        builder.Put(attribute, now.SlotOf(object), cell);
        Changed();
    }

    void EraseLarge(std::uint64_t object, std::size_t attribute)
    {
        if (CellOf(object, attribute).kind == Cell::Kind::Large)
            writer->Erase(Space::Large, LargeKey(object, attribute));
    }
};

ObjectChange::ObjectChange(std::shared_ptr<Writer> writer, const std::string& store,
                           Dictionaries& dictionaries)
    : m_state(std::make_unique<State>(std::move(writer), store, dictionaries))
{
}

ObjectChange::~ObjectChange() = default;

const Schema& ObjectChange::GetSchema() const
{
    return m_state->now.GetSchema();
}

std::uint64_t ObjectChange::Insert(std::span<const std::string_view> forms)
{
    State& state = *m_state;
    const std::size_t attributes = GetSchema().attributes.size();
    if (forms.size() != attributes)
        throw Error(ErrorCode::Usage, std::to_string(forms.size()) + " values where objects have " +
                                          std::to_string(attributes));
    std::vector<std::string_view> normal;
    for (std::size_t i = 0; i < attributes; ++i)
        normal.push_back(state.Normal(i, forms[i]));
    const std::uint64_t number = state.counts.nextNumber;
    if (number > kMaxObjectNumber)
        throw Error(ErrorCode::Io, "the store is full (no object numbers are left)");
    state.Open(state.now.BlockOf(number));
    state.builder.Add(state.now.SlotOf(number));
    for (std::size_t i = 0; i < attributes; ++i)
        state.Put(number, i, normal[i]);
    for (auto& [attribute, keys] : state.keys)
        state.entries.Insert(keys.Of(normal[attribute]), number);
    ++state.counts.objects;
    ++state.counts.nextNumber;
    return number;
}

bool ObjectChange::Update(std::uint64_t number, std::size_t attribute, std::string_view form)
{
    State& state = *m_state;
    if (!state.Find(number))
        return false;
    const std::string_view normal = state.Normal(attribute, form);
    const std::string before = state.FormOf(number, attribute);
    if (before == normal)
        return true;
    for (auto& [indexed, keys] : state.keys) {
        if (indexed != attribute)
            continue;
        const std::string old(keys.Of(before));
        const std::string_view now = keys.Of(normal);
        if (old != now) {
            state.entries.Erase(old, number);
            state.entries.Insert(now, number);
        }
    }
    state.EraseLarge(number, attribute);
    state.Put(number, attribute, normal);
    return true;
}

bool ObjectChange::Erase(std::uint64_t number)
{
    State& state = *m_state;
    if (!state.Find(number))
        return false;
    for (auto& [attribute, keys] : state.keys)
        state.entries.Erase(keys.Of(state.FormOf(number, attribute)), number);
    for (std::size_t i = 0; i < GetSchema().attributes.size(); ++i)
        state.EraseLarge(number, i);
    state.builder.Erase(state.now.SlotOf(number));
    state.Changed();
    --state.counts.objects;
    return true;
}

bool ObjectChange::Has(std::uint64_t number)
{
    return m_state->Find(number);
}

std::string ObjectChange::Form(std::uint64_t number, std::size_t attribute)
{
    return m_state->Find(number) ? m_state->FormOf(number, attribute) : std::string();
}

void ObjectChange::Commit()
{
    State& state = *m_state;
    state.Flush();
    state.dictionaries.Write(
        [&](std::string_view key, std::string_view sealed) {
            state.writer->Put(Space::Texts, key, sealed);
        },
        state.counts.texts);
    state.writer->Put(Space::Description, Counts::kKey, state.counts.Write());
    state.writer->Commit();
}

} // namespace ko::store::inner
