#include "base/hidden.h"
#include "check/checker.h"
#include "engine/broken_page.h"
#include "engine/engine.h"
#include "import/importer.h"
#include "interface/moment.h"
#include "interface/transaction.h"
#include "object/bulk.h"
#include "object/copy_store.h"
#include "object/object_store.h"
#include "query/answer.h"

#include <csignal>
#include <ostream>

namespace ko::store
{

namespace
{

inner::Mode ToInner(Mode mode)
{
    switch (mode) {
    case Mode::Read:
        return inner::Mode::Read;
    case Mode::Change:
        return inner::Mode::Change;
    case Mode::Grow:
        break;
    }
    return inner::Mode::Grow;
}

/// Runs something that reads a store from its opening on.
template <class Step>
auto Opening(const std::string& address, const Step& step)
{
    return inner::Reading(inner::NameOfStore(address), step);
}

} // namespace

struct KOSTORE_HIDDEN Store::State {
    std::shared_ptr<inner::ObjectStore> objects;

    /// The place of an attribute as the store is now.
    std::size_t Place(const std::string& attribute) const
    {
        return inner::Reading(objects->Name(), [&] {
            return ToOuter(objects->Read()->GetSchema()).Place(attribute);
        });
    }
};

Store::Store(std::shared_ptr<State> state) : m_state(std::move(state))
{
}

Store Store::Create(const std::string& address, const Schema& schema)
{
    const inner::Schema given = inner::ToInner(schema);
    inner::Bulk::Create(inner::StartLoad(address), given, inner::ScratchOfStore(address))->Commit();
    return Open(address, Mode::Change);
}

Store Store::Open(const std::string& address, Mode mode)
{
    return Opening(address, [&] {
        return Store(
            std::make_shared<State>(State{inner::ObjectStore::Open(address, ToInner(mode))}));
    });
}

bool Store::Exists(const std::string& address)
{
    return inner::StoreExists(address);
}

Snapshot Store::Read() const
{
    return inner::Reading(m_state->objects->Name(), [&] {
        return Snapshot(std::make_shared<Snapshot::State>(m_state->objects->Read()));
    });
}

void Store::Change(const std::function<void(Transaction&)>& change) const
{
    m_state->objects->Change([&](inner::ObjectChange& once) {
        Transaction::State state(once);
        Transaction transaction(state);
        try {
            change(transaction);
        } catch (...) {
            if (state.isConflict)
                state.Finish();
            throw;
        }
        state.Finish();
    });
}

std::uint64_t Store::Insert(const std::vector<Field>& fields) const
{
    std::uint64_t number = 0;
    Change([&](Transaction& change) { number = change.Insert(fields); });
    return number;
}

bool Store::Update(std::uint64_t number, const std::vector<Field>& fields) const
{
    bool found = false;
    Change([&](Transaction& change) { found = change.Update(number, fields); });
    return found;
}

bool Store::Erase(std::uint64_t number) const
{
    bool found = false;
    Change([&](Transaction& change) { found = change.Erase(number); });
    return found;
}

void Store::AddIndex(const std::string& attribute) const
{
    m_state->objects->AddIndex(m_state->Place(attribute));
}

void Store::DropIndex(const std::string& attribute) const
{
    m_state->objects->DropIndex(m_state->Place(attribute));
}

void Store::Reindex() const
{
    m_state->objects->Reindex();
}

std::uint64_t Store::Compact() const
{
    return m_state->objects->Compact();
}

std::uint64_t Store::Analyze() const
{
    return m_state->objects->Analyze();
}

ImportResult Import(const ImportRequest& request)
{
    std::ostream nowhere(nullptr);
    return inner::Import(request, inner::ToInner(request.schema),
                         request.messages != nullptr ? *request.messages : nowhere);
}

CheckResult Check(const std::string& address, std::ostream& faults)
{
    return Opening(address, [&] { return inner::CheckStore(address, faults); });
}

std::uint64_t Copy(const std::string& from, const std::string& to)
{
    return Opening(from, [&] { return inner::CopyStore(from, to); });
}

std::size_t Clean(const std::string& address)
{
    return inner::Clean(address);
}

std::string GrantStatements(const std::string& address, const std::string& reader,
                            const std::string& writer)
{
    return Opening(address, [&] { return inner::GrantStatements(address, reader, writer); });
}

std::string NameOf(const std::string& address)
{
    return inner::NameOfStore(address);
}

bool HidePassword(char* address)
{
    return inner::HidePassword(address);
}

void EndOnBrokenPages(const char* prefix)
{
    inner::lmdb::SetBrokenPagePrefix(prefix);
    inner::lmdb::SetBrokenPageHandler(inner::lmdb::EndOnBrokenPage);
    for (const int fault : {SIGSEGV, SIGBUS})
        std::signal(fault, [](int) { inner::lmdb::EndOnBrokenPage(); });
}

} // namespace ko::store
