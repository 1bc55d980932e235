#include "engine/postgres_statements.h"

#include <utility>

namespace ko::store::postgres
{

namespace
{

/// As an identifier.
std::string Quote(const std::string& name)
{
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

} // namespace

Statement Generation::Make(std::string name, std::string text)
{
    const std::string& keptName = m_texts.emplace_back(std::move(name));
    const std::string& keptText = m_texts.emplace_back(std::move(text));
    return {std::string_view(keptName), std::string_view(keptText)};
}

void Generation::MakeForSpace(Space space, bool ascending)
{
    const std::size_t i = Index(space);
    const std::string name = SpaceName(space);
    const std::string table = m_schema + "." + name;
    m_get[i] =
        Make("get " + name, "select key, value from " + table + " where key = any($1::bytea[])");
    for (const bool hasHigh : {false, true}) {
        const std::string range =
            std::string(" where key >= $1::bytea") + (hasHigh ? " and key < $2::bytea" : "");
        const std::string limit = hasHigh ? " limit $3::bigint" : " limit $2::bigint";
        for (const bool backwards : {false, true})
            m_page[i][backwards ? 1 : 0][hasHigh ? 1 : 0] =
                Make(std::string(backwards ? "down " : "up ") + (hasHigh ? "to " : "") + name,
                     "select key, value from " + table + range + " order by key" +
                         (backwards ? " desc" : "") + limit);
        m_count[i][hasHigh ? 1 : 0] =
            Make(std::string("count ") + (hasHigh ? "to " : "") + name,
                 "select count(*) from (select 1 from " + table + range + limit + ") counted");
        m_explain[i][hasHigh ? 1 : 0] = Make("", "explain select from " + table + range);
    }
    m_erase[i] = Make("erase " + name, "delete from " + table + " where key = any($1::bytea[])");
    m_insert[i] =
        Make("insert " + name, "insert into " + table +
                                   "(key, value) select * from unnest($1::bytea[], $2::bytea[])");
    m_copy[i] = Make("", "copy " + table + "(key, value) from stdin (format binary)");
    m_analyze[i] = Make("", "analyze " + table);
    m_make[i] = Make("", "create table " + table +
                             "(key bytea not null, value bytea not null, primary key(key" +
                             (ascending ? " asc))" : "))"));
    // Values between 2 and 8 thousand bytes would be compressed, or stand in a table of their own.
    m_keep[i] = Make("", "alter table " + table + " set (toast_tuple_target = 8160)");
    m_badKeys[i] =
        Make("", "select count(*) from " + table + " where length(key) < 1 or length(key) > 511");
}

Generation::Generation(const std::string& schema, bool ascending) : m_schema(Quote(schema))
{
    std::string touched;
    for (std::size_t i = 0; i < kSpaces; ++i) {
        const auto space = static_cast<Space>(i);
        MakeForSpace(space, ascending);
        touched += (i == 0 ? " from " : ", ") + m_schema + "." + SpaceName(space);
    }
    m_touch = Make("touch", "select" + touched + " where false");
    m_makeSchema = Make("", "create schema " + m_schema);
    m_drop = Make("", "drop schema if exists " + m_schema + " cascade");
    const std::string marks = m_schema + ".marks";
    m_makeMarks = Make("", "create table " + marks +
                               "(mark bytea primary key, made boolean not null, "
                               "at timestamptz not null default now())");
    m_mark = Make("mark", "insert into " + marks +
                              "(mark, made) select $1::bytea, true from kotms.stores "
                              "where name = $2::text and generation = $3::bigint");
    m_unmark = Make("", "insert into " + marks + "(mark, made) values($1::bytea, false)");
    m_readMark = Make("", "select made from " + marks + " where mark = $1::bytea");
    m_eraseMarks = Make("erase marks", "delete from " + marks + " where mark = any($1::bytea[])");
}

} // namespace ko::store::postgres
