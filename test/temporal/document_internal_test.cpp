#include "temporal/temporal_fields.h"

#include <filesystem>
#include <fstream>
#include <vector>

using namespace ko;

namespace
{

/// The texts in backquotes of a table row that starts with one.
std::vector<std::string> Quoted(const std::string& line)
{
    std::vector<std::string> texts;
    if (line.rfind("| `%", 0) != 0)
        return texts;
    for (std::size_t at = 0; (at = line.find('`', at)) != std::string::npos;) {
        const std::size_t end = line.find('`', at + 1);
        texts.push_back(line.substr(at + 1, end - at - 1));
        at = end + 1;
    }
    return texts;
}

/// Every example of the document is what the library prints, and reads to what prints so again.
TEST(TemporalText, IsAsDocumented)
{
    const auto root = std::filesystem::path(KO_TEST_DATA).parent_path().parent_path();
    std::ifstream document(root / "doc" / "text.md");
    ASSERT_TRUE(document);
    const TemporalFields moment{kDateTimeN, false, 2024, 3, 5, 13, 5, 9, 250'000'000};
    std::string directives;
    int spans = 0;
    bool inSection = false;
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("## ", 0) == 0)
            inSection = line == "## Dates and times";
        const std::vector<std::string> quoted = Quoted(line);
        if (!inSection || quoted.size() < 2)
            continue;
        SCOPED_TRACE(line);
        const std::string& format = quoted.front();
        const std::string& text = quoted.back();
        TemporalFields fields = moment;
        unsigned errorAt = 0;
        if (format.size() > 2) {
            fields = {.kind = kTimeSpan};
            ASSERT_EQ(ParseTemporal(fields, KoString(quoted[1].c_str()), nullptr, errorAt), 0);
            ++spans;
        } else {
            directives += format[1];
        }
        KoString printed;
        PrintTemporal(printed, fields, format.c_str());
        EXPECT_EQ(printed.StrGet(), text);
        TemporalFields read = {.kind = kTimeSpan};
        EXPECT_TRUE(ScanTemporal(read, printed, format.c_str()));
        KoString again;
        PrintTemporal(again, read, format.c_str());
        const bool isField = format != "%A" && format != "%a"; // the weekday follows from the date
        EXPECT_EQ(again.StrGet() == text, isField);
        if (format.size() > 2) {
            EXPECT_EQ(read, fields);
            read = {.kind = kTimeSpan};
            EXPECT_EQ(ParseTemporal(read, printed, format.c_str(), errorAt), 0) << errorAt;
            EXPECT_EQ(read, fields);
        }
    }
    EXPECT_EQ(directives, "YymdeBbAaJHIMSfNpPDTOXV%");
    EXPECT_EQ(spans, 5);
}

} // namespace
