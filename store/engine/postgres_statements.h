#ifndef KO_ENGINE_POSTGRES_STATEMENTS_H
#define KO_ENGINE_POSTGRES_STATEMENTS_H

#include "engine/engine.h"

#include <array>
#include <deque>
#include <string>
#include <string_view>

namespace ko::store::inner::postgres
{

/// The text of a statement. It is known when the program is compiled or put together by Generation,
/// so that no value can get into it: values travel beside it, as parameters.
class Statement
{
public:
    constexpr Statement() = default;
    /// A statement with a name is prepared once for each connection that runs it.
    consteval Statement(const char* name, const char* text) : m_name(name), m_text(text) {}
    /// Both end with a zero byte.
    constexpr std::string_view Name() const { return m_name; }
    constexpr std::string_view Text() const { return m_text; }

private:
    friend class Generation;
    constexpr Statement(std::string_view name, std::string_view text) : m_name(name), m_text(text)
    {
    }

    std::string_view m_name = "";
    std::string_view m_text = "";
};

/// A name as an identifier.
std::string QuoteName(const std::string& name);

// The statements keep to what other engines of the protocol know as well: no cursors, no advisory
// locks, no sequences, no joins of large tables, no "on conflict do update" outside the catalog.

// clang-format off
inline constexpr Statement kBeginReading{"", "begin isolation level repeatable read read only"};
inline constexpr Statement kBeginChange{"", "begin isolation level serializable"};
inline constexpr Statement kBegin{"", "begin isolation level read committed"};
inline constexpr Statement kCommit{"", "commit"};
inline constexpr Statement kRollback{"", "rollback"};
inline constexpr Statement kVersion{"", "select version()"};

// What a session is set to; engines that do not know one of them refuse it, and serve without.
inline constexpr Statement kSetPath{"", "set search_path = pg_catalog"};
inline constexpr Statement kSetLockPatience{"", "set lock_timeout = '10s'"};
inline constexpr Statement kSetShortLockPatience{"", "set lock_timeout = '2s'"};
inline constexpr Statement kSetPatience{"", "set statement_timeout = '60s'"};
inline constexpr Statement kSetEndlessPatience{"", "set statement_timeout = 0"};
inline constexpr Statement kSetIdle{"", "set idle_in_transaction_session_timeout = '60s'"};
inline constexpr Statement kSetIdleReading{"", "set idle_in_transaction_session_timeout = '600s'"};
// A sequential scan of a serializable transaction conflicts with every change of the table.
inline constexpr Statement kSetNoScans{"", "set enable_seqscan = off"};
inline constexpr Statement kSetGenericPlans{"", "set plan_cache_mode = force_generic_plan"};
// Which servers have any of a list of keys is seen by the keys alone: a plan for all lists asks every
// server, and fails when one is down.
inline constexpr Statement kSetPlansByValues{"", "set plan_cache_mode = force_custom_plan"};

// The catalog.
inline constexpr Statement kMakeCatalog[] = {
    {"", "create schema if not exists kotms"},
    {"", "create table if not exists kotms.stores(name text primary key, generation bigint not null, "
         "schema_name text not null)"},
    // Written before the schema is made: what may be cleared away. A generation that another one
    // replaced has the time of that.
    {"", "create table if not exists kotms.generations(generation bigint primary key, name text not null, "
         "schema_name text not null unique, replaced timestamptz)"},
    // The lease: one loader of a name at a time.
    {"", "create table if not exists kotms.imports(name text primary key, generation bigint not null, "
         "owner text not null, expires timestamptz not null)"}};
inline constexpr Statement kFindStore{"store",
    "select generation, schema_name from kotms.stores where name = $1::text"};
inline constexpr Statement kClaim{"",
    "insert into kotms.imports(name, generation, owner, expires) "
    "values($1::text, $2::bigint, $3::text, now() + $4::bigint * interval '1 millisecond') "
    "on conflict(name) do update set generation = excluded.generation, owner = excluded.owner, "
    "expires = excluded.expires where kotms.imports.expires < now()"};
inline constexpr Statement kLeaseEnds{"",
    "select greatest(1, ceil(extract(epoch from expires - now())))::bigint from kotms.imports "
    "where name = $1::text"};
inline constexpr Statement kRenew{"",
    "update kotms.imports set expires = now() + $3::bigint * interval '1 millisecond' "
    "where name = $1::text and owner = $2::text"};
inline constexpr Statement kRelease{"",
    "delete from kotms.imports where name = $1::text and owner = $2::text"};
inline constexpr Statement kNoteGeneration{"",
    "insert into kotms.generations(generation, name, schema_name) values($1::bigint, $2::text, $3::text)"};
inline constexpr Statement kForgetGeneration{"",
    "delete from kotms.generations where generation = $1::bigint"};
inline constexpr Statement kLeftovers{"",
    "select g.generation, g.schema_name from kotms.generations g where g.name = $1::text "
    "and g.generation <> $2::bigint "
    "and (g.replaced is null or g.replaced < now() - $3::bigint * interval '1 millisecond') "
    "and not exists(select 1 from kotms.stores s where s.generation = g.generation)"};
inline constexpr Statement kNoteReplaced{"",
    "update kotms.generations set replaced = now() where generation in "
    "(select s.generation from kotms.stores s where s.name = $1::text)"};
inline constexpr Statement kPublish{"",
    "insert into kotms.stores(name, generation, schema_name) values($1::text, $2::bigint, $3::text)"};
inline constexpr Statement kReplace{"",
    "insert into kotms.stores(name, generation, schema_name) values($1::text, $2::bigint, $3::text) "
    "on conflict(name) do update set generation = excluded.generation, schema_name = excluded.schema_name"};
inline constexpr Statement kDescribeTables{"",
    "select table_name::text, column_name::text, data_type::text from information_schema.columns "
    "where table_schema = $1::text"};
inline constexpr Statement kCountForeignTables{"",
    "with recursive part(oid) as (select c.oid from pg_catalog.pg_class c "
    "join pg_catalog.pg_namespace n on n.oid = c.relnamespace where n.nspname = $1::text "
    "union all select i.inhrelid from pg_catalog.pg_inherits i join part p on i.inhparent = p.oid) "
    "select count(*) from part p join pg_catalog.pg_class c on c.oid = p.oid where c.relkind = 'f'"};
// clang-format on

/// The statements about one generation of a store, which has a schema of its own.
class Generation
{
public:
    /// `ascending`: engines that spread tables by hashes unless a key is said to ascend.
    explicit Generation(const std::string& schema, bool ascending = false);
    Generation(const Generation&) = delete;
    Generation& operator=(const Generation&) = delete;

    const Statement& Get(Space space) const { return m_get[Index(space)]; }
    /// Pages of a walk: the parameters are the lower end, the upper one where there is one, and
    /// how many rows.
    const Statement& Page(Space space, Direction direction, bool hasHigh) const
    {
        return m_page[Index(space)][direction == Direction::Forwards ? 0 : 1][hasHigh ? 1 : 0];
    }
    const Statement& Count(Space space, bool hasHigh) const
    {
        return m_count[Index(space)][hasHigh ? 1 : 0];
    }
    const Statement& Explain(Space space, bool hasHigh) const
    {
        return m_explain[Index(space)][hasHigh ? 1 : 0];
    }
    const Statement& Erase(Space space) const { return m_erase[Index(space)]; }
    const Statement& Insert(Space space) const { return m_insert[Index(space)]; }
    const Statement& Copy(Space space) const { return m_copy[Index(space)]; }
    const Statement& Analyze(Space space) const { return m_analyze[Index(space)]; }
    const Statement& MakeTable(Space space) const { return m_make[Index(space)]; }
    /// Keeps long values in their rows, where the engine can.
    const Statement& KeepInRow(Space space) const { return m_keep[Index(space)]; }
    const Statement& Empty(Space space) const { return m_empty[Index(space)]; }
    const Statement& CountBadKeys(Space space) const { return m_badKeys[Index(space)]; }
    /// Reads nothing, and keeps the tables from being dropped before the transaction ends.
    const Statement& Touch() const { return m_touch; }
    const Statement& MakeSchema() const { return m_makeSchema; }
    const Statement& MakeMarks() const { return m_makeMarks; }
    const Statement& Drop() const { return m_drop; }
    /// The mark of a change that is committed with it, and never while another change has it.
    const Statement& Mark() const { return m_mark; }
    const Statement& Unmark() const { return m_unmark; }
    const Statement& ReadMark() const { return m_readMark; }
    const Statement& EraseMarks() const { return m_eraseMarks; }
    /// Waits until no other transaction has the turn, and takes it until this one ends.
    const Statement& TakeTurn() const { return m_takeTurn; }
    /// Keys of entries and the sizes of their values.
    const Statement& EntrySizes() const { return m_entrySizes; }

private:
    using BySpace = std::array<Statement, kSpaces>;

    static std::size_t Index(Space space) { return static_cast<std::size_t>(space); }
    Statement Make(std::string name, std::string text);
    void MakeForSpace(Space space, bool ascending);

    std::string m_schema;            ///< quoted
    std::deque<std::string> m_texts; ///< that the statements are views of
    BySpace m_get, m_erase, m_insert, m_copy, m_analyze, m_make, m_keep, m_empty, m_badKeys;
    std::array<Statement, 2> m_count[kSpaces], m_explain[kSpaces];
    std::array<std::array<Statement, 2>, 2> m_page[kSpaces];
    Statement m_touch, m_makeSchema, m_makeMarks, m_drop, m_mark, m_unmark, m_readMark,
        m_eraseMarks, m_takeTurn, m_entrySizes;
};

} // namespace ko::store::inner::postgres

#endif
