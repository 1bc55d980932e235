#include "testfiles.h"

#include <gtest/gtest.h>

namespace
{

struct Query {
    const char* reason;
    std::string arguments, output;
};

template <std::size_t count>
void Ask(const std::string& store, const Query (&queries)[count])
{
    for (const Query& query : queries)
        EXPECT_EQ(RunKotm("query " + store + " --output csv " + query.arguments).out, query.output)
            << query.reason;
}

TEST(KotmIds, FindObjects)
{
    const TestFolder folder;
    const std::string store = folder.Path("store");
    const std::string schema = folder.Write("schema", R"({"class": "Item", "attributes": [
      {"name": "id", "column": "Id", "type": "o_4b", "index": true},
      {"name": "title", "column": "Title", "type": "KoString"},
      {"name": "weight", "column": "Weight", "type": "KoNull_int", "index": true}]})");
    const std::string csv = folder.Write("csv", "Id,Title,Weight\n10,a,3\n20,b,1\n30,c,\n40,d,2\n");
    ASSERT_EQ(RunKotm("import " + store + " " + csv + " --schema " + schema).status, 0);
    const Query kQueries[] = {
        {"first column", "--ids --columns id --limit 1", "@id,id\n(0-1#0),10\n"},
        {"any column", "--columns title,@id --print @id=%L --limit 1", "title,@id\na,1\n"},
        {"once", "--ids --columns @id,id --limit 1", "@id,id\n(0-1#0),10\n"},
        {"by number", "'@id = 3' --columns id", "id\n30\n"},
        {"the tag is no part of it", "'@id = \"(0-3#7)\"' --columns id", "id\n30\n"},
        {"no such object", "'@id = 5 or @id = 0' --columns id", "id\n"},
        {"number 0 alone", "'@id = 0' --columns id", "id\n"},
        {"below", "'@id < 3' --columns id", "id\n10\n20\n"},
        {"without the ends", "'@id > 1 and @id < 4' --columns id", "id\n20\n30\n"},
        {"in two ranges", "'@id < 4 and id > 10' --columns id --order @id", "id\n20\n30\n"},
        {"sorted otherwise", "'@id < 4' --columns id --order weight", "id\n30\n20\n10\n"},
        {"by id behind an index", "'id > 10' --columns id --order @id --desc", "id\n40\n30\n20\n"},
        {"counted", "'@id > 1' --count", "3\n"},
        {"never null", "'@id is null' --count", "0\n"},
    };
    Ask(store, kQueries);
    for (const char* predicate : {"@id = x", "@id = 281474976710655", "@id = \"17\"", "@ = 1"})
        EXPECT_EQ(RunKotm("query " + store + " '" + predicate + "'").status, 2) << predicate;
}

TEST(KotmTypes, AreReadStoredAndFound)
{
    const TestFolder folder;
    const std::string store = folder.Path("store");
    const std::string schema = folder.Write("schema", R"({"class": "Any", "attributes": [
      {"name": "id", "column": "Id", "type": "o_4b"},
      {"name": "data", "column": "Data", "type": "KoBlob", "format": "%x", "index": true},
      {"name": "name", "column": "Name", "type": "KoIString", "index": true},
      {"name": "kind", "column": "Kind", "type": "KoCaseIString", "index": true},
      {"name": "from", "column": "From", "type": "KoObjId", "index": true},
      {"name": "to", "column": "To", "type": "KoRef", "format": "%D:%L/%C", "index": true},
      {"name": "class", "column": "Class", "type": "KoClassId"},
      {"name": "valid", "column": "Valid", "type": "KoBoolean", "index": true},
      {"name": "seal", "column": "Seal", "type": "KoSeal", "index": true},
      {"name": "day", "column": "Day", "type": "KoDate", "format": "%d.%m.%Y", "index": true},
      {"name": "start", "column": "Start", "type": "KoTime", "format": "%I:%M %p"},
      {"name": "took", "column": "Took", "type": "KoTimeSpan", "format": "%?(J days )%H:%M"}]})");
    const std::string csv = folder.Write(
        "csv", "Id,Data,Name,Kind,From,To,Class,Valid,Seal,Day,Start,Took\n"
               "1,4a4B,stra\xC3\x9F"
               "e,Hawk,(0-9#0),1:5/2,(2v1),true,00000000000a,05.03.2024,12:30 am,01:15\n"
               "2,,A,HAWK,(1-1#0),1:300/2,(2v2),0,00000000000B,29.02.2024,01:00 pm,2 days 03:00\n"
               "3,00ff,a,owl,,,,,ffffffffffff,,,\n"
               "4,ff,\xC5\x93uf,,(0-7#3),1:4/2,(2v3),TRUE,000000000001,01.04.2024,01:00 pm,03:00\n"
               "5,4a4,x,x,,,,,000000000000,,,\n"
               "6,ff,\xCE\xB1,x,,,,,000000000000,,,\n"
               "7,ff,x,x,,,,maybe,000000000000,,,\n"
               "8,ff,x,x,,,,,000000000000,29.02.2023,,\n"
               "9,ff,x,x,,,,,000000000000,,13:00 pm,\n");
    const Outcome import = RunKotm("import " + store + " " + csv + " --schema " + schema);
    EXPECT_NE(import.out.find("stored 4, rejected 5"), std::string::npos) << import.out;
    const Query kQueries[] = {
        {"texts", "'from = \"(0-7#3)\"' --columns data,name,class,valid,seal,day,start,took",
         "data,name,class,valid,seal,day,start,took\n"
         "ff,\xC5\x93uf,(2v3),TRUE,000000000001,01.04.2024,01:00 pm,03:00\n"},
        {"the length alone", "'id = 1' --columns data --print data=%L", "data\n2\n"},
        {"a blob by its digits", "'data > \"00ff\"' --columns id --order data", "id\n1\n4\n"},
        {"any case", "'kind = \"hawk\"' --columns id", "id\n1\n2\n"},
        {"sharp s is two letters", "'name = \"strasse\"' --columns id", "id\n1\n"},
        {"a small letter first", "'name <= \"A\"' --columns id --order name", "id\n3\n2\n"},
        {"by number", "--order from --columns from", "from\n\n(0-7#3)\n(0-9#0)\n(1-1#0)\n"},
        {"in its format", "'to > \"1:4/2\"' --order to --columns to", "to\n1:5/2\n1:300/2\n"},
        {"truth", "'valid = true' --count", "2\n"},
        {"null is neither", "'not valid = true' --count", "1\n"},
        {"seals", "'seal >= \"00000000000b\"' --columns id --order seal", "id\n2\n3\n"},
        {"days", "'day > \"29.02.2024\"' --columns day --order day --print day='%a %e.%b %Y'",
         "day\nTue 05.Mar 2024\nMon 01.Apr 2024\n"},
        {"a time", "'start < \"01:00 am\"' --columns id", "id\n1\n"},
        {"a span", "'took >= \"1 days 00:00\"' --columns took", "took\n2 days 03:00\n"},
    };
    Ask(store, kQueries);
    EXPECT_EQ(RunKotm("query " + store + " 'day = \"31.04.2024\"'").status, 2);
    EXPECT_EQ(RunKotm("check " + store).status, 0);
}

} // namespace
