#include "testfiles.h"

#include <gtest/gtest.h>

namespace
{

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
    const struct {
        const char* reason;
        std::string arguments, output;
    } kRows[] = {
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
    for (const auto& row : kRows)
        EXPECT_EQ(RunKotm("query " + store + " --output csv " + row.arguments).out, row.output)
            << row.reason;
    for (const char* predicate : {"@id = x", "@id = 281474976710655", "@id = \"17\"", "@ = 1"})
        EXPECT_EQ(RunKotm("query " + store + " '" + predicate + "'").status, 2) << predicate;
}

TEST(KotmIds, StoreIdentitiesBooleansAndSeals)
{
    const TestFolder folder;
    const std::string store = folder.Path("store");
    const std::string schema = folder.Write("schema", R"({"class": "Link", "attributes": [
      {"name": "from", "column": "From", "type": "KoObjId", "index": true},
      {"name": "to", "column": "To", "type": "KoRef", "format": "%D:%L/%C", "index": true},
      {"name": "class", "column": "Class", "type": "KoClassId"},
      {"name": "valid", "column": "Valid", "type": "KoBoolean", "index": true},
      {"name": "seal", "column": "Seal", "type": "KoSeal", "index": true}]})");
    const std::string csv = folder.Write("csv", "From,To,Class,Valid,Seal\n"
                                                "(0-9#0),1:5/2,(2v1),true,00000000000a\n"
                                                "(1-1#0),1:300/2,(2v2),0,00000000000B\n"
                                                ",,,,ffffffffffff\n"
                                                "(0-7#3),1:4/2,(2v3),TRUE,000000000001\n"
                                                "(0-7#3),1:4/2,(2v3),maybe,000000000001\n");
    const Outcome import = RunKotm("import " + store + " " + csv + " --schema " + schema);
    EXPECT_NE(import.out.find("stored 4, rejected 1"), std::string::npos) << import.out;
    const struct {
        const char* reason;
        std::string arguments, output;
    } kRows[] = {
        {"in its format", "'to > \"1:4/2\"' --order to --columns to", "to\n1:5/2\n1:300/2\n"},
        {"texts", "'from = \"(0-7#3)\"' --columns class,valid,seal",
         "class,valid,seal\n(2v3),TRUE,000000000001\n"},
        {"truth", "'valid = true' --count", "2\n"},
        {"null is neither", "'not valid = true' --count", "1\n"},
        {"seals", "'seal >= \"00000000000b\"' --order seal --columns seal",
         "seal\n00000000000b\nffffffffffff\n"},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(RunKotm("query " + store + " --output csv " + row.arguments).out, row.output)
            << row.reason;
    EXPECT_EQ(RunKotm("check " + store).status, 0);
}

} // namespace
