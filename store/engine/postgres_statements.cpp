#include "engine/postgres_statements.h"

#include <initializer_list>
#include <utility>

namespace ko::store::inner::postgres
{

namespace
{

std::string Text(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

} // namespace

std::string QuoteName(const std::string& name)
{
    std::string quoted = "\"";
    for (const char c : name) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

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
    const std::string table = Text({m_schema, ".", name});
    m_get[i] = Make("get " + name,
                    Text({"select key, value from ", table, " where key = any($1::bytea[])"}));
    for (const std::size_t hasHigh : {0U, 1U}) {
        const std::string rows = Text({" from ", table, " where key >= $1::bytea",
                                       hasHigh == 1 ? " and key < $2::bytea" : ""});
        const char* const to = hasHigh == 1 ? "to " : "";
        const char* const limit = hasHigh == 1 ? " limit $3::bigint" : " limit $2::bigint";
        for (const std::size_t backwards : {0U, 1U})
            m_page[i][backwards][hasHigh] = Make(Text({backwards == 1 ? "down " : "up ", to, name}),
                                                 Text({"select key, value", rows, " order by key",
                                                       backwards == 1 ? " desc" : "", limit}));
        m_count[i][hasHigh] =
            Make(Text({"count ", to, name}),
                 Text({"select count(*) from (select 1", rows, limit, ") counted"}));
        m_explain[i][hasHigh] = Make("", Text({"explain select", rows}));
    }
    m_erase[i] =
        Make("erase " + name, Text({"delete from ", table, " where key = any($1::bytea[])"}));
    m_insert[i] = Make("insert " + name,
                       Text({"insert into ", table,
                             "(key, value) select * from unnest($1::bytea[], $2::bytea[])"}));
    m_copy[i] = Make("", Text({"copy ", table, "(key, value) from stdin (format binary)"}));
    m_analyze[i] = Make("", Text({"analyze ", table}));
    m_make[i] = Make("", Text({"create table ", table,
                               "(key bytea not null, value bytea not null, primary key(key",
                               ascending ? " asc))" : "))"}));
    // Values between 2 and 8 thousand bytes would be compressed, or stand in a table of their own.
    m_keep[i] = Make("", Text({"alter table ", table, " set (toast_tuple_target = 8160)"}));
    m_empty[i] = Make("", Text({"delete from ", table}));
    m_badKeys[i] = Make(
        "", Text({"select count(*) from ", table, " where length(key) < 1 or length(key) > 511"}));
}

Generation::Generation(const std::string& schema, bool ascending) : m_schema(QuoteName(schema))
{
    std::string touched;
    for (std::size_t i = 0; i < kSpaces; ++i) {
        const auto space = static_cast<Space>(i);
        MakeForSpace(space, ascending);
        touched += Text({i == 0 ? " from " : ", ", m_schema, ".", SpaceName(space)});
    }
    m_touch = Make("touch", Text({"select", touched, " where false"}));
    m_makeSchema = Make("", "create schema " + m_schema);
    m_drop = Make("", Text({"drop schema if exists ", m_schema, " cascade"}));
    const std::string marks = m_schema + ".marks";
    m_makeMarks = Make("", Text({"create table ", marks,
                                 "(mark bytea primary key, made boolean not null, "
                                 "at timestamptz not null default now())"}));
    m_mark = Make("mark", Text({"insert into ", marks,
                                "(mark, made) select $1::bytea, true from kotms.stores "
                                "where name = $2::text and generation = $3::bigint"}));
    m_unmark = Make("", Text({"insert into ", marks, "(mark, made) values($1::bytea, false)"}));
    m_readMark = Make("", Text({"select made from ", marks, " where mark = $1::bytea"}));
    m_takeTurn = Make("", Text({"insert into ", marks, "(mark, made) values('turn', true)"}));
    m_entrySizes = Make("", Text({"select key, length(value)::bigint from ", m_schema, ".",
                                  SpaceName(Space::Entries), " where key = any($1::bytea[])"}));
    m_eraseMarks =
        Make("erase marks", Text({"delete from ", marks, " where mark = any($1::bytea[])"}));
}

} // namespace ko::store::inner::postgres
