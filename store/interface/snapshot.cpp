#include "base/hidden.h"
#include "interface/moment.h"
#include "interface/tell_statistics.h"
#include "query/answer.h"
#include "query/explain.h"
#include "query/gatherer.h"

#include <algorithm>
#include <iterator>

namespace ko::store
{

namespace
{

/// Objects that an answer is asked for together: their blocks are fetched in one round trip, where
/// it takes any.
constexpr std::size_t kLooked = 4000;
/// Rows of a batch: it ends behind this many, and mostly with a block, which then is unpacked once.
constexpr std::size_t kEnough = 256;
constexpr std::size_t kMost = 1024;

std::vector<std::size_t> PlacesOf(const inner::Schema& schema,
                                  const std::vector<std::string>& names)
{
    std::vector<std::size_t> places;
    places.reserve(names.empty() ? schema.attributes.size() : names.size());
    for (const std::string& name : names)
        places.push_back(inner::PlaceOf(schema, name));
    for (std::size_t i = 0; names.empty() && i < schema.attributes.size(); ++i)
        places.push_back(i);
    return places;
}

} // namespace

struct KOSTORE_HIDDEN Cursor::State {
    std::shared_ptr<inner::Moment> moment;
    std::vector<std::size_t> places;
    std::vector<std::size_t> stored; ///< of these, without that of the id
    inner::Answer answer;
    inner::Gatherer gatherer;
    std::vector<Attribute> attributes;
    std::vector<Batch::Column> columns;
    std::span<const std::uint64_t> pending; ///< of the answer
    std::size_t fetched = 0;                ///< of these, the first so many
    std::vector<std::uint64_t> numbers;
    bool hasEnded = false;

    State(std::shared_ptr<inner::Moment> when, const Query& query)
        : moment(std::move(when)), places(PlacesOf(moment->snapshot->GetSchema(), query.columns)),
          answer(*moment->snapshot, query, false), gatherer(*moment->snapshot, places),
          columns(places.size())
    {
        std::remove_copy(places.begin(), places.end(), std::back_inserter(stored),
                         inner::kObjectIdIndex);
        for (const std::size_t place : places)
            attributes.push_back(place == inner::kObjectIdIndex
                                     ? inner::ObjectIdAttribute()
                                     : moment->schema->attributes[place]);
    }

    void Fill()
    {
        numbers.clear();
        while (numbers.size() < kEnough) {
            if (pending.empty())
                pending = answer.Next(kLooked);
            if (pending.empty())
                break;
            if (fetched == 0)
                fetched = moment->snapshot->Fetch(pending, stored);
            const auto taken = pending.first(std::min(fetched, kMost - numbers.size()));
            numbers.insert(numbers.end(), taken.begin(), taken.end());
            pending = pending.subspan(taken.size());
            fetched -= taken.size();
        }
        gatherer.Gather(numbers);
        for (std::size_t i = 0; i < columns.size(); ++i)
            columns[i] = {gatherer.Forms(i), gatherer.Codes(i)};
    }
};

Cursor::Cursor(std::unique_ptr<State> state) : m_state(std::move(state))
{
}
Cursor::~Cursor() = default;
Cursor::Cursor(Cursor&&) noexcept = default;
Cursor& Cursor::operator=(Cursor&&) noexcept = default;

std::span<const Attribute> Cursor::Attributes() const
{
    return m_state->attributes;
}

Batch Cursor::Next()
{
    State& state = *m_state;
    if (!state.hasEnded) {
        state.hasEnded = true; // unless there is no fault
        inner::Reading(state.moment->snapshot->Name(), [&] { state.Fill(); });
        state.hasEnded = state.numbers.empty();
    } else {
        state.numbers.clear();
    }
    return {state.numbers, state.columns, state.attributes};
}

Snapshot::Snapshot(std::shared_ptr<State> state) : m_state(std::move(state))
{
}
Snapshot::~Snapshot() = default;
Snapshot::Snapshot(Snapshot&&) noexcept = default;
Snapshot& Snapshot::operator=(Snapshot&&) noexcept = default;

const Schema& Snapshot::GetSchema() const
{
    return *m_state->schema;
}

std::uint64_t Snapshot::Count() const
{
    return m_state->snapshot->GetCounts().objects;
}

std::uint64_t Snapshot::Count(const std::string& predicate, std::uint64_t most)
{
    inner::Snapshot& snapshot = *m_state->snapshot;
    return inner::Reading(snapshot.Name(), [&] {
        return inner::Answer(snapshot, {predicate, {}, {}, false, most}, true).Count();
    });
}

std::vector<Group> Snapshot::CountBy(const std::string& attribute, const std::string& predicate)
{
    inner::Snapshot& snapshot = *m_state->snapshot;
    return inner::Reading(snapshot.Name(), [&] {
        return inner::Answer(snapshot, {predicate}, false)
            .CountBy(m_state->schema->Place(attribute));
    });
}

std::optional<Object> Snapshot::Find(std::uint64_t number)
{
    inner::Snapshot& snapshot = *m_state->snapshot;
    return inner::Reading(snapshot.Name(), [&]() -> std::optional<Object> {
        inner::BlockView* const block = snapshot.BlockWith(number);
        if (block == nullptr)
            return {};
        Object object{number, m_state->schema, {}};
        std::string room;
        for (std::size_t i = 0; i < m_state->schema->attributes.size(); ++i)
            object.forms.emplace_back(snapshot.Form(*block, number, i, room));
        return object;
    });
}

Cursor Snapshot::Select(const Query& query)
{
    return inner::Reading(m_state->snapshot->Name(),
                          [&] { return Cursor(std::make_unique<Cursor::State>(m_state, query)); });
}

std::optional<StoreStatistics> Snapshot::GetStatistics()
{
    inner::Snapshot& snapshot = *m_state->snapshot;
    return inner::Reading(snapshot.Name(), [&] { return inner::TellStatistics(snapshot); });
}

Explanation Snapshot::Explain(const std::string& predicate)
{
    return Explain(Query{predicate});
}

Explanation Snapshot::Explain(const Query& query)
{
    inner::Snapshot& snapshot = *m_state->snapshot;
    return inner::Reading(snapshot.Name(), [&] { return inner::Explain(snapshot, query); });
}

} // namespace ko::store
